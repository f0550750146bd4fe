#include "stand/books/accounts.h"

#include "stand/books/database.h"
#include "stand/books/denial.h"

using namespace Qt::StringLiterals;

namespace stand {

namespace {

Card cardOf(const QSqlQuery& row)
{
    Card card;
    card.number = row.value(0).toString();
    card.status = static_cast<CardStatus>(row.value(1).toInt());
    if (!row.isNull(2))
        card.customer = row.value(2).toLongLong();
    card.account = row.value(3).toLongLong();
    return card;
}

std::optional<Customer> customerOf(QSqlQuery&& query)
{
    if (!query.next())
        return std::nullopt;
    const auto text = [&query](int column) {
        return query.isNull(column) ? QString() : query.value(column).toString();
    };
    Customer customer;
    customer.lastName = text(0);
    customer.firstName = text(1);
    customer.middleName = text(2);
    if (!query.isNull(3))
        customer.gender = query.value(3).toInt();
    customer.birthDay = text(4);
    customer.address = text(5);
    customer.email = text(6);
    customer.mobile = text(7);
    return customer;
}

} // namespace

QString written(Balance balance)
{
    const auto amount = balance.hundredths < 0 ? -balance.hundredths : balance.hundredths;
    const bool comma = balance.notation == Notation::Comma;
    auto whole = QString::number(amount / 100);
    if (comma) {
        for (auto place = whole.size() - 3; place > 0; place -= 3)
            whole.insert(place, u' ');
    }
    const auto sign = balance.hundredths < 0 ? u"-"_s : QString();
    return sign + whole + (comma ? u',' : u'.') + u"%1"_s.arg(amount % 100, 2, 10, QLatin1Char('0'));
}

void requireUnblocked(const Card& card)
{
    if (card.status == CardStatus::Blocked)
        throw Denial{Denial::Reason::NotAllowed, u"Карта заблокирована"_s};
}

void requireActive(const Card& card)
{
    requireUnblocked(card);
    if (card.status == CardStatus::New)
        throw Denial{Denial::Reason::NotAllowed, u"Карта не активирована"_s};
    if (card.status == CardStatus::RegistrationNotFilledIn)
        throw Denial{Denial::Reason::NotAllowed, u"Анкета владельца карты не заполнена"_s};
}

std::optional<Card> Accounts::card(const QString& number) const
{
    auto query =
        m_database.run(u"SELECT number, status, customer, account FROM cards WHERE number = ?"_s, {number});
    if (!query.next())
        return std::nullopt;
    return cardOf(query);
}

Card Accounts::known(const QString& number) const
{
    if (auto found = card(number))
        return *found;
    throw Denial{Denial::Reason::Unknown, u"Карта не найдена"_s};
}

QList<Card> Accounts::cardsOfPhone(const QString& phone) const
{
    auto query = m_database.run(uR"(SELECT number, status, customer, account FROM cards
                                    WHERE customer IN (SELECT id FROM customers WHERE mobile = ?)
                                    ORDER BY id)"_s,
                                {phone});
    QList<Card> cards;
    while (query.next())
        cards.append(cardOf(query));
    return cards;
}

std::optional<Customer> Accounts::customer(qint64 id) const
{
    return customerOf(m_database.run(uR"(SELECT last_name, first_name, middle_name, gender, birth_day,
                                                address, email, mobile
                                         FROM customers WHERE id = ?)"_s,
                                     {id}));
}

std::optional<Customer> Accounts::firstCustomerOfPhone(const QString& phone) const
{
    auto query = m_database.run(u"SELECT min(id) FROM customers WHERE mobile = ?"_s, {phone});
    if (!query.next() || query.isNull(0))
        return std::nullopt;
    return customer(query.value(0).toLongLong());
}

Balance Accounts::balance(qint64 account) const
{
    auto query = m_database.run(
        uR"(SELECT (SELECT coalesce(sum(amount), 0) FROM entries WHERE entries.account = accounts.id), notation
            FROM accounts WHERE id = ?)"_s,
        {account});
    if (!query.next())
        throw DatabaseError(u"there is no account %1"_s.arg(account));
    return {query.value(0).toLongLong(), static_cast<Notation>(query.value(1).toInt())};
}

void Accounts::beginRegistration(const QString& number)
{
    m_database.run(
        u"UPDATE cards SET status = ? WHERE number = ? AND status = ?"_s,
        {static_cast<int>(CardStatus::RegistrationNotFilledIn), number, static_cast<int>(CardStatus::New)});
}

} // namespace stand
