#include "till/checkout/checkout.h"

#include "till/checkout/failure.h"

/// The customer of the receipt, and how many points may be spent.
namespace till {

void Checkout::identify(const QString& number)
{
    auto record = QSharedPointer<DocumentCardRecord>::create(KyrLoyaltySystem, number);
    requireDone(m_loyalty.identifyByCard(record, ECardNumberType::Typed));
    m_receipt->setCardRecord(record);
    m_receipt->setFlag(LoyaltyCardPresented);
    save();
}

Identification Checkout::identifyByCard(const QString& number)
{
    Identification found;
    attempt(Action::Identify, found, [&] {
        found.card = number;
        identify(number);
    });
    return found;
}

Identification Checkout::identifyByPhone(const QString& phone)
{
    Identification found;
    attempt(Action::Identify, found, [&] {
        const loyalty::CardNumberResult answer =
            m_loyalty.getCardNumber({.kind = loyalty::CardNumberInputData::PhoneNumber, .text = phone});
        if (!answer.success)
            fail(answer.error);
        found.card = answer.cardNumber;
        if (!found.card.isEmpty())
            identify(found.card);
    });
    return found;
}

Result Checkout::refreshCard()
{
    Result result;
    attempt(Action::RefreshCard, result, [&] {
        requireCard();
        auto record = card();
        requireDone(m_loyalty.getCardInfo(record, ECardNumberType::Typed));
        save();
    });
    return result;
}

Result Checkout::requestLimit()
{
    Result result;
    attempt(Action::RequestLimit, result, [&] {
        requireCard();
        requireDone(m_loyalty.request(m_receipt));
    });
    return result;
}

} // namespace till
