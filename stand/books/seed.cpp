#include "stand/books/seed.h"

#include "stand/books/accounts.h"
#include "stand/books/database.h"
#include "stand/books/ledger.h"

#include <QJsonObject>

using namespace Qt::StringLiterals;

namespace stand {

namespace {

struct SeedCard
{
    QString number;
    CardStatus status;
    Balance balance;
    QString note;
};

/// A customer with the cards issued to them, or cards that nobody has registered.
struct Holding
{
    std::optional<Customer> customer;
    QList<SeedCard> cards;
};

// All people, streets and addresses are made up.
QList<Holding> holdings()
{
    using enum CardStatus;
    using enum Notation;
    return {
        {Customer{u"Соколова"_s, u"Мария"_s, u"Андреевна"_s, 1, u"1986-03-14"_s,
                  u"г. Липовец, ул. Садовая, д. 12, кв. 7"_s, u"sokolova@example.com"_s, u"79001234567"_s},
         {{u"2000000000017"_s,
           Active,
           {123450, Comma},
           u"Active; balance written as 1 234,50; first of three"_s},
          {u"2000000000024"_s, Active, {5730, Point}, u"Active; second of three cards of this phone"_s},
          {u"2000000000031"_s,
           Active,
           {123456705, Comma},
           u"Active; third of three; balance written as 1 234 567,05"_s}}},
        {Customer{u"Ветров"_s, u"Пётр"_s, u"Ильич"_s, 0, u"1974-11-02"_s, u"г. Липовец, пер. Речной, д. 3"_s,
                  u"vetrov@example.com"_s, u"79007654321"_s},
         {{u"2000000000048"_s, Blocked, {8000, Point}, u"Blocked; the only card of its phone"_s}}},
        {Customer{u"Орлова"_s, u"Анна"_s, u"Сергеевна"_s, 1, u"1991-07-25"_s,
                  u"г. Липовец, пр. Мира, д. 40, кв. 118"_s, u"orlova@example.com"_s, u"79005550001"_s},
         {{u"2000000000055"_s,
           Active,
           {30000, Point},
           u"Active; the only card of its phone; balance 300.00"_s}}},
        {std::nullopt,
         {{u"2000000000062"_s,
           New,
           {0, Point},
           u"New, nobody's yet; asking for its account begins a registration"_s}}},
        {Customer{u"Гордеев"_s, {}, {}, 0, {}, {}, {}, u"79005550002"_s},
         {{u"2000000000079"_s,
           RegistrationNotFilledIn,
           {1500, Comma},
           u"Registration not filled in: no first and middle name"_s}}},
    };
}

qint64 add(Database& database, const Customer& customer)
{
    const auto query = database.run(
        uR"(INSERT INTO customers(last_name, first_name, middle_name, gender, birth_day, address, email, mobile)
            VALUES (?, ?, ?, ?, ?, ?, ?, ?))"_s,
        {customer.lastName, customer.firstName, customer.middleName,
         customer.gender ? QVariant(*customer.gender) : QVariant(), customer.birthDay, customer.address,
         customer.email, customer.mobile});
    return query.lastInsertId().toLongLong();
}

void open(Ledger& ledger, const QString& card, qint64 account, Hundredths balance)
{
    if (balance == 0)
        return;
    ledger.record({.kind = Kind::Opening, .receiptNumber = {}, .card = card}, balance,
                  {{account, balance}, {ledger.service(), -balance}}, {}, {});
}

} // namespace

void seed(Database& database)
{
    Ledger ledger(database);
    for (const auto& [customer, cards] : holdings()) {
        const auto owner = customer ? QVariant(add(database, *customer)) : QVariant();
        for (const auto& card : cards) {
            const auto account = database
                                     .run(u"INSERT INTO accounts(notation) VALUES (?)"_s,
                                          {static_cast<int>(card.balance.notation)})
                                     .lastInsertId()
                                     .toLongLong();
            database.run(u"INSERT INTO cards(number, customer, account, status) VALUES (?, ?, ?, ?)"_s,
                         {card.number, owner, account, static_cast<int>(card.status)});
            open(ledger, card.number, account, card.balance.hundredths);
        }
    }
}

QJsonArray demonstrationCards()
{
    QJsonArray list;
    for (const auto& [customer, cards] : holdings()) {
        const auto phone = customer ? customer->mobile : u""_s;
        for (const auto& card : cards)
            list.append(QJsonObject{{u"number"_s, card.number}, {u"phone"_s, phone}, {u"note"_s, card.note}});
    }
    return list;
}

} // namespace stand
