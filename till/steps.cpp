#include "till/steps.h"

#include "till/screen.h"
#include "till/till.h"

#include <algorithm>

using namespace Qt::StringLiterals;

namespace till {

namespace {

/// The current receipt; every step but those that open one needs it.
QSharedPointer<Document> receiptOf(const Till& till)
{
    if (!till.receipt())
        throw std::runtime_error("Чек не открыт: сначала откройте его шагом openSale");
    return till.receipt();
}

Outcome failed(const BasicLoyaltySystem& loyalty, const QVariant& value = {})
{
    return {.ok = false, .value = value, .error = loyalty.getLastErrorString().ru()};
}

Outcome openSale(Till& till, const QVariantMap& members)
{
    const auto receipt = QSharedPointer<Document>::create(SaleReceipt, members.value(u"id"_s).toString());
    int posnum = 0;
    const QVariantList positions = members.value(u"positions"_s).toList();
    for (const QVariant& entry : positions) {
        const QVariantMap position = entry.toMap();
        const auto item = QSharedPointer<GoodsItem>::create(
            ++posnum, position.value(u"articul"_s).toString(), position.value(u"name"_s).toString(),
            position.value(u"price"_s).toDouble(), position.value(u"quantity"_s).toDouble());
        item->setDiscount(position.value(u"discount"_s).toDouble());
        receipt->addGoodsItem(item);
    }
    till.open(receipt);
    return {.ok = true, .screen = screen::receipt(*receipt)};
}

Outcome identify(Till& till, const QString& number)
{
    const auto receipt = receiptOf(till);
    auto record = QSharedPointer<DocumentCardRecord>::create(KyrLoyaltySystem, number);
    if (!till.loyalty().identifyByCard(record, ECardNumberType::Typed))
        return failed(till.loyalty(), number);
    receipt->setCardRecord(record);
    receipt->setFlag(LoyaltyCardPresented);
    return {.ok = true, .value = number, .screen = screen::customer(*record)};
}

Outcome identifyByCard(Till& till, const QVariantMap& members)
{
    return identify(till, members.value(u"card"_s).toString());
}

Outcome identifyByPhone(Till& till, const QVariantMap& members)
{
    receiptOf(till); // nobody looks for a card that could not be put anywhere
    const QVariant choose = members.value(u"choose"_s);
    till.cashier().script(choose.isValid() ? std::optional(choose.toInt()) : std::nullopt);
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
    receiptOf(till);
    auto record = till.card();
    if (!record)
        throw std::runtime_error(
            "В чеке нет карты: сначала найдите её шагом identifyByCard или identifyByPhone");
    if (!till.loyalty().getCardInfo(record, ECardNumberType::Typed))
        return failed(till.loyalty());
    return {.ok = true, .screen = screen::customer(*record)};
}

QList<Member> positionMembers()
{
    using enum Member::Type;
    using enum Member::Need;
    return {
        {u"articul"_s, Text, Required, u"the article's code"_s},
        {u"name"_s, Text, Required, u"what is printed"_s},
        {u"price"_s, Number, Required, u"money for one unit"_s},
        {u"quantity"_s, Number, Required, u"units"_s},
        {u"discount"_s, Number, Optional, u"money off the position"_s},
    };
}

QList<StepKind> table()
{
    using enum Member::Type;
    using enum Member::Need;
    return {
        {u"openSale"_s,
         u"open a sale receipt"_s,
         {{u"id"_s, Text, Required, u"the receipt's identifier"_s},
          {u"positions"_s, List, Required, u"what is sold, numbered from 1"_s, positionMembers()}},
         openSale},
        {u"identifyByCard"_s,
         u"present a card by its number"_s,
         {{u"card"_s, Text, Required, u"the card number"_s}},
         identifyByCard},
        {u"identifyByPhone"_s,
         u"find the customer's card by phone number"_s,
         {{u"phone"_s, Text, Required, u"digits only, such as 79001234567"_s},
          {u"choose"_s, Integer, Optional, u"which card of a list, from 0; -1 closes the list"_s}},
         identifyByPhone},
        {u"getCardInfo"_s, u"ask again for the card on the receipt"_s, {}, getCardInfo},
    };
}

} // namespace

const QList<StepKind>& stepKinds()
{
    static const QList<StepKind> kinds = table();
    return kinds;
}

const StepKind* findStepKind(const QString& name)
{
    const auto& kinds = stepKinds();
    const auto named = [&name](const StepKind& kind) { return kind.name == name; };
    const auto kind = std::find_if(kinds.begin(), kinds.end(), named);
    return kind == kinds.end() ? nullptr : &*kind;
}

} // namespace till
