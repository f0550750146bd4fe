#include "client/kyrloyaltyinterface.h"
#include "client/servicecontract.h"
#include "client/texts.h"
#include "plugin/kyrloyaltyexception.h"

#include <cmath>

using namespace Qt::StringLiterals;

namespace {

namespace ServiceStatus {
enum : int { New = 0, NotFilledIn = 1, Blocked = 2, Active = 3 };
} // namespace ServiceStatus

ECard::Status hostStatus(int serviceStatus)
{
    switch (serviceStatus) {
    case ServiceStatus::Active:
        return ECard::Active;
    case ServiceStatus::Blocked:
        return ECard::Blocked; // for a replaced status query: the real one throws for a blocked card
    default:
        return ECard::RegistrationIncomplete;
    }
}

QSharedPointer<Client> customer(const QVariantMap& user)
{
    const auto text = [&user](const QString& key) { return user.value(key).toString(); };
    auto client = QSharedPointer<Client>::create();
    client->setName(
        u"%1 %2 %3"_s.arg(text(u"last_name"_s), text(u"first_name"_s), text(u"middle_name"_s)).trimmed());
    client->setSex(user.value(u"gender"_s).toInt() == 0 ? Client::Sex::Male : Client::Sex::Female);
    client->setBirthday(QDate::fromString(text(u"birth_day"_s), u"yyyy-MM-dd"_s));
    client->setAddress(text(u"address"_s));
    client->setEmail(text(u"email"_s));
    client->setPhoneNumber(text(u"mobile"_s));
    return client;
}

// The service writes a balance for people, "1 234,50"; only the ordinary blank is dropped.
double balance(const QVariantMap& account)
{
    QString text = account.value(u"avialable"_s).toString(); // misspelt by the service
    const double points = text.replace(u',', u'.').remove(u' ').toDouble();
    return std::isfinite(points) ? points : 0; // "nan" and "inf" are words, though toDouble() takes them
}

// One of the four as a number, or as a text of digits. Read as a text: QVariant's own toInt() would take true
// for 1, 1.7 for 2 and 4294967299 for 3.
int serviceStatus(const QVariant& value)
{
    bool isNumber = false;
    const int number = value.toString().toInt(&isNumber);
    if (isNumber) {
        for (const int status : {ServiceStatus::New, ServiceStatus::NotFilledIn, ServiceStatus::Blocked,
                                 ServiceStatus::Active}) {
            if (number == status)
                return status;
        }
    }
    throw KyrLoyaltyException(texts::incorrectAnswer());
}

} // namespace

int KyrLoyaltyInterface::getCardStatus(const QString& cardNumber) const
{
    logger->debug(u"Получение статуса карты"_s);
    const QVariantMap answer = getServerResponse(paths::cardInfo(cardNumber), {}, RestMethod::Get);
    const QVariantMap card = answer.value(keys::data).toMap().value(u"card_data"_s).toMap();
    if (!card.contains(u"status"_s))
        throw KyrLoyaltyException(texts::cardStatusNotFound());

    const int status = serviceStatus(card.value(u"status"_s));
    if (status == ServiceStatus::Blocked)
        throw KyrLoyaltyException(texts::cardBlocked());
    if (status == ServiceStatus::New) {
        logger->debug(u"Получена карта со статусом 'Новая'. Изменение статуса на 'Не заполнена'"_s);
        (void)getServerResponse(paths::userAccount(cardNumber), {}, RestMethod::Get);
    }
    return status; // as first read: this receipt still sees the card as new
}

void KyrLoyaltyInterface::getUserInfo(const QSharedPointer<DocumentCardRecord>& record) const
{
    logger->info(u"Получение информации о клиенте и карте по номеру карты"_s);
    if (!record)
        throw KyrLoyaltyException(texts::cardRecordMissing());
    const QString cardNumber = record->getNumber().toString();
    record->setCardStatus(hostStatus(getCardStatus(cardNumber)));

    const QVariantMap answer = getServerResponse(paths::userByCard(cardNumber), {}, RestMethod::Get);
    const QVariantMap data = answer.value(keys::data).toMap();
    record->getCard()->setClient(customer(data.value(u"user_data"_s).toMap()));

    const QVariantList accounts = listOf(data.value(u"accounts_data"_s));
    if (accounts.isEmpty())
        throw KyrLoyaltyException(texts::balanceNotFound());
    record->setBonusBalance(balance(accounts.first().toMap()));
    logger->info(u"Информация о клиенте и карте получена"_s);
}

QList<QString> KyrLoyaltyInterface::getCardNumbers(const QString& phone) const
{
    logger->info(u"Получение списка номеров карт по номеру телефона '%1'"_s.arg(phone));
    const QVariantMap answer = getServerResponse(paths::userByPhone(phone), {}, RestMethod::Get);
    const QVariantList cards = listOf(answer.value(keys::data).toMap().value(u"cards_data"_s));
    QList<QString> numbers;
    numbers.reserve(cards.size());
    for (const QVariant& card : cards)
        numbers.append(card.toMap().value(u"number"_s).toString());
    return numbers;
}
