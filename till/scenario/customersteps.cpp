#include "till/checkout/refusal.h"
#include "till/checkout/screen.h"
#include "till/scenario/stepplays.h"

using namespace Qt::StringLiterals;

namespace till::plays {

namespace {

/// Another card's record would not know the numbers of what was done with this one.
void requireNothingSpent(const Till& till)
{
    requireChangeable(till);
    if (till.hasSpentPoints())
        refuse(u"В чеке уже списаны баллы: карту не сменить. Отмените чек шагом rollback"_s);
}

Outcome identify(Till& till, const QString& number)
{
    const auto receipt = receiptOf(till);
    requireNothingSpent(till);
    auto record = QSharedPointer<DocumentCardRecord>::create(KyrLoyaltySystem, number);
    if (!till.loyalty().identifyByCard(record, ECardNumberType::Typed))
        return failed(till.loyalty(), number);
    receipt->setCardRecord(record);
    receipt->setFlag(LoyaltyCardPresented);
    till.save();
    return {.ok = true, .value = number, .screen = screen::customer(*record)};
}

} // namespace

QSharedPointer<Document> receiptOf(const Till& till)
{
    if (!till.receipt())
        refuse(u"Чек не открыт: сначала откройте его шагом openSale"_s);
    return till.receipt();
}

QSharedPointer<DocumentCardRecord> cardOf(const Till& till)
{
    receiptOf(till);
    if (!till.card())
        refuse(u"В чеке нет карты: сначала найдите её шагом identifyByCard или identifyByPhone"_s);
    return till.card();
}

void requireChangeable(const Till& till)
{
    if (const auto spending = till.unknownSpending())
        refuse(u"Чек %1: %2"_s.arg(till.receipt()->getIdentifier(), unknownSpendingText(*spending)));
    switch (till.stage()) {
    case Till::Stage::Paying:
    case Till::Stage::Settled:
        refuse(u"Чек %1 уже оплачивается: завершите оплату шагом pay"_s.arg(till.receipt()->getIdentifier()));
    case Till::Stage::Abandoned:
        refuse(u"Чек %1 отменяется: завершите отмену шагом rollback"_s.arg(till.receipt()->getIdentifier()));
    case Till::Stage::Open:
        break;
    }
}

Outcome failed(const BasicLoyaltySystem& loyalty, const QVariant& value)
{
    return {.ok = false, .value = value, .error = loyalty.getLastErrorString().ru()};
}

Outcome identifyByCard(Till& till, const QVariantMap& members)
{
    return identify(till, members.value(u"card"_s).toString());
}

Outcome identifyByPhone(Till& till, const QVariantMap& members)
{
    receiptOf(till); // nobody looks for a card that could not be put anywhere
    requireNothingSpent(till);
    const QVariant choose = members.value(u"choose"_s);
    till.cashier().script(
        {.choice = choose.isValid() ? std::optional(choose.toInt()) : std::nullopt, .text = {}});
    const loyalty::CardNumberResult found = till.loyalty().getCardNumber(
        {.kind = loyalty::CardNumberInputData::PhoneNumber, .text = members.value(u"phone"_s).toString()});
    if (!found.success)
        return {.ok = false, .error = found.error.ru()};
    if (found.cardNumber.isEmpty())
        return {.ok = true, .screen = {u"Карта не выбрана"_s}};
    return identify(till, found.cardNumber);
}

Outcome getCardInfo(Till& till, const QVariantMap& /*members*/)
{
    auto record = cardOf(till);
    if (!till.loyalty().getCardInfo(record, ECardNumberType::Typed))
        return failed(till.loyalty());
    till.save();
    return {.ok = true, .screen = screen::customer(*record)};
}

} // namespace till::plays
