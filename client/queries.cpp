#include "client/kyrloyaltyinterface.h"
#include "client/servicecontract.h"
#include "client/texts.h"
#include "plugin/kyrloyaltyexception.h"

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
    return text.replace(u',', u'.').remove(u' ').toDouble();
}

} // namespace

int KyrLoyaltyInterface::getCardStatus(const QString& cardNumber) const
{
    logger->debug(u"Получение статуса карты"_s);
    const QVariantMap answer = getServerResponse(paths::cardInfo(cardNumber), {}, RestMethod::Get);
    const QVariantMap card = answer.value(keys::data).toMap().value(u"card_data"_s).toMap();
    if (!card.contains(u"status"_s))
        throw KyrLoyaltyException(texts::cardStatusNotFound());

    bool isNumber = false;
    const int status = card.value(u"status"_s).toInt(&isNumber);
    if (!isNumber || status < ServiceStatus::New || status > ServiceStatus::Active)
        throw KyrLoyaltyException(texts::incorrectAnswer());
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

    const QVariantList accounts = data.value(u"accounts_data"_s).toList();
    if (accounts.isEmpty())
        throw KyrLoyaltyException(texts::balanceNotFound());
    record->setBonusBalance(balance(accounts.first().toMap()));
    logger->info(u"Информация о клиенте и карте получена"_s);
}

QList<QString> KyrLoyaltyInterface::getCardNumbers(const QString& phone) const
{
    logger->info(u"Получение списка номеров карт по номеру телефона '%1'"_s.arg(phone));
    const QVariantMap answer = getServerResponse(paths::userByPhone(phone), {}, RestMethod::Get);
    const QVariantList cards = answer.value(keys::data).toMap().value(u"cards_data"_s).toList();
    QList<QString> numbers;
    numbers.reserve(cards.size());
    for (const QVariant& card : cards)
        numbers.append(card.toMap().value(u"number"_s).toString());
    return numbers;
}
