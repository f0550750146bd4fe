#include "stand/service.h"

#include "stand/accounts.h"
#include "stand/answers.h"

#include <algorithm>

using namespace Qt::StringLiterals;

namespace stand {

/// One path of the contract. A path has one variable segment, {card} or {phone}, whose name says what form
/// its value must have.
struct Service::Route
{
    QByteArray method;
    QList<QByteArray> pattern;
    Answer (Service::*handler)(const QString& value);

    /// The segment of the path in the variable's place, or nothing when the path is another one.
    [[nodiscard]] std::optional<QByteArray> match(const QList<QByteArray>& segments) const
    {
        if (segments.size() != pattern.size())
            return std::nullopt;
        std::optional<QByteArray> value;
        for (qsizetype i = 0; i < pattern.size(); ++i) {
            if (pattern[i].startsWith('{'))
                value = segments[i];
            else if (pattern[i] != segments[i])
                return std::nullopt;
        }
        return value;
    }

    [[nodiscard]] bool has(const QByteArray& variable) const { return pattern.contains(variable); }
};

namespace {

/// The segments behind the first slash, decoded one by one.
QList<QByteArray> segmentsOf(const QByteArray& path)
{
    auto segments = path.mid(1).split('/');
    for (auto& segment : segments)
        segment = QByteArray::fromPercentEncoding(segment);
    return segments;
}

bool isDigits(const QByteArray& text)
{
    return !text.isEmpty() &&
           std::all_of(text.begin(), text.end(), [](char c) { return c >= '0' && c <= '9'; });
}

bool isPhone(const QByteArray& text) { return isDigits(text) && text.size() >= 10 && text.size() <= 15; }

Answer unknownCard() { return failure(404, u"Карта не найдена"_s); }

Answer malformedCard()
{
    return failure(422, QJsonArray{QJsonObject{
                            {u"card"_s, QJsonArray{u"Номер карты должен состоять только из цифр"_s,
                                                   u"Проверьте номер карты"_s}},
                            {u"branch"_s, u"Поиск карты не выполнен"_s},
                        }});
}

Answer malformedPhone()
{
    return failure(422, QJsonArray{u"Неверный номер телефона"_s, u"Номер телефона состоит из 10–15 цифр"_s});
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

const QList<Service::Route>& Service::routes()
{
    static const auto route = [](const char* method, const char* path, auto handler) {
        return Route{method, QByteArray(path).split('/'), handler};
    };
    static const QList<Route> table = {
        route("GET", "v2/partner/card/{card}/card-info", &Service::cardInfo),
        route("GET", "v2/partner/user-account/card/{card}", &Service::userAccount),
        route("GET", "v2/partner/operation/user/card/{card}/user-info", &Service::userInfoByCard),
        route("GET", "v2/partner/operation/user/phone/{phone}/user-info", &Service::userInfoByPhone),
    };
    return table;
}

Answer Service::answer(const Request& request)
{
    const auto segments = segmentsOf(request.path);
    QByteArrayList allowed;
    for (const auto& route : routes()) {
        const auto value = route.match(segments);
        if (!value)
            continue;
        if (route.method != request.method) {
            allowed.append(route.method);
            continue;
        }
        if (route.has("{card}") && !isDigits(*value))
            return malformedCard();
        if (route.has("{phone}") && !isPhone(*value))
            return malformedPhone();
        return (this->*route.handler)(QString::fromLatin1(*value));
    }
    if (!allowed.isEmpty())
        return wrongMethod(request.method, allowed.join(", "));
    return failure(404, u"Адрес не найден"_s);
}

Answer Service::cardInfo(const QString& number)
{
    const auto card = m_accounts.card(number);
    return card ? success({{u"card_data"_s, cardData(*card)}}) : unknownCard();
}

Answer Service::userAccount(const QString& number)
{
    m_accounts.beginRegistration(number);
    return cardInfo(number);
}

Answer Service::userInfoByCard(const QString& number)
{
    const auto card = m_accounts.card(number);
    if (!card)
        return unknownCard();
    QJsonObject data;
    if (card->customer) {
        if (const auto customer = m_accounts.customer(*card->customer))
            data.insert(u"user_data"_s, userData(*customer));
    }
    // "avialable" is misspelt in the contract itself.
    const auto balance = written(m_accounts.balance(card->account));
    data.insert(u"accounts_data"_s, QJsonArray{QJsonObject{{u"avialable"_s, balance}}});
    data.insert(u"cards_data"_s, QJsonArray{cardData(*card)});
    return success(data);
}

Answer Service::userInfoByPhone(const QString& phone)
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
