#include "till/checkout/checkout.h"

#include "host/storage/documents.h"
#include "host/utils/tr.h"
#include "till/checkout/receiptmarks.h"
#include "till/checkout/returnparts.h"
#include "till/setup/hostobjects.h"
#include "till/setup/settings.h"

using namespace Qt::StringLiterals;

namespace till {

// Each way out of a receipt ends with its removal, so whatever was interrupted is found here.
tr::Tr Checkout::recover()
{
    const auto receipt = SaveToFileLogic::loadOpenReceipt();
    if (!receipt)
        return {};
    const QString name = receipt->getIdentifier();
    m_journal.note(receipt->getIdentifier(), u"recovered"_s);
    if (hostObject<DocumentsDao>().contains(name) || wasClosedElsewhere(*receipt)) {
        m_turnover.closed.append(receipt->getIdentifier());
        SaveToFileLogic::removeOpenReceipt();
        return tr::Tr(u"tillFoundPaid"_s, u"Чек %1 был оплачен: закрытие завершено"_s).arg(name);
    }
    adopt(receipt);
    freeReturn();
    m_loyalty.restoreLoyaltySystem();
    if (state() == State::Abandoned) {
        // A cashier waits for the start; what fails for it goes through the queue.
        const auto hurry = RestClient::guard({.departing = {}, .answered = {}, .secondsAtMost = 1});
        const bool done = rollBack().ok;
        return (done ? tr::Tr(u"tillFoundAbandoned"_s, u"Чек %1 отменялся: отмена завершена"_s)
                     : tr::Tr(u"tillFoundLeaving"_s, u"Чек %1 отменялся: завершите отмену"_s))
            .arg(name);
    }
    if (m_loyalty.getBonusImpacts().size() > appliedImpacts(*receipt)) {
        // The answer had come, and was not yet a discount. Only a receipt of somebody who does not mark
        // spendings lacks the mark; what was asked for can then be told from the discount alone.
        const auto marked = unknownSpending();
        makeDiscount(marked ? marked->points
                            : pointsFor(hostObject<Config>(), m_loyalty.currentPointsForSpend()));
    }
    return foundOpen();
}

tr::Tr Checkout::foundOpen() const
{
    const QString name = m_receipt->getIdentifier();
    switch (state()) {
    case State::SpendingUnknown:
        return tr::Tr(u"tillFoundUnknown"_s, u"Найден открытый чек %1. %2"_s).arg(name, doubt());
    case State::Paying:
    case State::Settled:
        return tr::Tr(u"tillFoundPaying"_s,
                      u"Найден открытый чек %1: он уже оплачивается, завершите оплату"_s)
            .arg(name);
    default:
        return tr::Tr(u"tillFound"_s, u"Найден открытый чек %1"_s).arg(name);
    }
}

} // namespace till
