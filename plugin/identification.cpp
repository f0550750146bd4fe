#include "client/hostobjects.h"
#include "host/core/dialog.h"
#include "plugin/kyrloyalty.h"

using namespace Qt::StringLiterals;

bool KyrLoyalty::identifyByCard(QSharedPointer<DocumentCardRecord>& card, ECardNumberType /*type*/)
{
    logger->info(u"Получение информации о карте"_s);
    return guarded([&] { client->getUserInfo(card); });
}

bool KyrLoyalty::getCardInfo(QSharedPointer<DocumentCardRecord>& card, ECardNumberType /*type*/)
{
    logger->info(u"Запрос информации о карте"_s);
    return guarded([&] { client->getUserInfo(card); });
}

loyalty::CardNumberResult KyrLoyalty::getCardNumber(const loyalty::CardNumberInputData& input)
{
    if (input.kind != loyalty::CardNumberInputData::PhoneNumber) {
        logger->error(u"Система лояльности не поддерживает поиск карты по введенному типу "_s +
                      QString::number(input.kind));
        return BasicLoyaltySystem::getCardNumber(input);
    }
    const QString& phone = input.text;
    logger->info(u"Получение номера карты по номеру телефона '%1'"_s.arg(phone));

    QList<QString> numbers;
    try {
        numbers = client->getCardNumbers(phone);
    } catch (const KyrLoyaltyException& failure) {
        logFailure(failure);
        return {.success = false, .cardNumber = {}, .error = failure.tr()}; // the last error stays as it was
    }
    if (numbers.isEmpty()) {
        const tr::Tr notFound(u"kyrCardForPhoneNotFound"_s, u"Нет карт для телефона '%1'"_s);
        return {.success = false, .cardNumber = {}, .error = notFound.arg(phone)};
    }
    if (numbers.size() == 1)
        return {.success = true, .cardNumber = numbers.first(), .error = {}};

    hostObject<ActivityNotifier>().notify(Event(EActivityListener::BeforeModalDialog));
    ChoiceRequest request;
    request.title = tr::Tr::untranslated(u"Номера карт"_s);
    request.items = tr::TrList(numbers);
    const int chosen = MockFactory<Dialog>::create()->chooseFromList(request);
    // A closed choice is no failure: the empty number tells the host that no card was chosen.
    return {.success = true, .cardNumber = chosen < 0 ? QString() : numbers.at(chosen), .error = {}};
}
