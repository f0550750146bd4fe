#include "stand/service/cards.h"

#include "stand/books/accounts.h"
#include "stand/service/receipts.h"

using namespace Qt::StringLiterals;

namespace stand {

namespace {

bool isPhone(const QByteArray& text)
{
    return isDigits(QString::fromUtf8(text)) && text.size() >= 10 && text.size() <= 15;
}

QJsonObject cardData(const Card& card)
{
    return {{u"number"_s, card.number}, {u"status"_s, static_cast<int>(card.status)}};
}

/// What the customer has not told is left out.
QJsonObject userData(const Customer& customer)
{
    QJsonObject data;
    const auto put = [&data](const QString& member, const QString& text) {
        if (!text.isNull())
            data.insert(member, text);
    };
    put(u"last_name"_s, customer.lastName);
    put(u"first_name"_s, customer.firstName);
    put(u"middle_name"_s, customer.middleName);
    if (customer.gender)
        data.insert(u"gender"_s, *customer.gender);
    put(u"birth_day"_s, customer.birthDay);
    put(u"address"_s, customer.address);
    put(u"email"_s, customer.email);
    put(u"mobile"_s, customer.mobile);
    return data;
}

} // namespace

QString Cards::number(const QByteArray& segment)
{
    if (!isDigits(QString::fromUtf8(segment))) {
        throw ApiError(QJsonObject{
            {u"card"_s,
             QJsonArray{u"Номер карты должен состоять только из цифр"_s, u"Проверьте номер карты"_s}},
            {u"branch"_s, u"Поиск карты не выполнен"_s},
        });
    }
    return QString::fromLatin1(segment);
}

QString Cards::phone(const QByteArray& segment)
{
    if (!isPhone(segment)) {
        throw ApiError(failure(
            422, QJsonArray{u"Неверный номер телефона"_s, u"Номер телефона состоит из 10–15 цифр"_s}));
    }
    return QString::fromLatin1(segment);
}

Answer Cards::cardInfo(const QString& number)
{
    return success({{u"card_data"_s, cardData(m_accounts.known(number))}});
}

Answer Cards::userAccount(const QString& number)
{
    m_accounts.beginRegistration(number);
    return cardInfo(number);
}

Answer Cards::userInfoByCard(const QString& number)
{
    const auto card = m_accounts.known(number);
    QJsonObject data;
    if (card.customer) {
        if (const auto customer = m_accounts.customer(*card.customer))
            data.insert(u"user_data"_s, userData(*customer));
    }
    // "avialable" is misspelt in the contract itself.
    const auto balance = written(m_accounts.balance(card.account));
    data.insert(u"accounts_data"_s, QJsonArray{QJsonObject{{u"avialable"_s, balance}}});
    data.insert(u"cards_data"_s, QJsonArray{cardData(card)});
    return success(data);
}

Answer Cards::userInfoByPhone(const QString& phone)
{
    QJsonObject data;
    if (const auto customer = m_accounts.firstCustomerOfPhone(phone))
        data.insert(u"user_data"_s, userData(*customer));
    QJsonArray cards;
    for (const auto& card : m_accounts.cardsOfPhone(phone))
        cards.append(cardData(card));
    data.insert(u"cards_data"_s, cards);
    return success(data);
}

} // namespace stand
