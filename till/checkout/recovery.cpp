#include "till/checkout/checkout.h"

#include "host/core/session.h"
#include "host/storage/documents.h"
#include "till/checkout/receiptmarks.h"
#include "till/setup/hostobjects.h"
#include "till/setup/settings.h"

using namespace Qt::StringLiterals;

namespace till {

// Each way out of a receipt ends with the removal of its file, so whatever was interrupted is found here.
QString Checkout::recover()
{
    const auto receipt = SaveToFileLogic::loadOpenReceipt();
    if (!receipt)
        return {};
    const QString name = u"Чек "_s + receipt->getIdentifier();
    m_journal.note(receipt->getIdentifier(), u"recovered"_s);
    if (hostObject<DocumentsDao>().loadDocument(receipt->getIdentifier(), false)) {
        m_turnover.closed.append(receipt->getIdentifier());
        SaveToFileLogic::removeOpenReceipt();
        return name + u" был оплачен: закрытие завершено"_s;
    }
    m_receipt = receipt;
    hostObject<Session>().setDocument(receipt);
    m_loyalty.setDocument(receipt);
    m_loyalty.restoreLoyaltySystem();
    if (state() == State::Abandoned) {
        // A cashier waits for the start; what fails for it goes through the queue.
        const auto hurry = RestClient::guard({.departing = {}, .answered = {}, .secondsAtMost = 1});
        return name + (rollBack().ok ? u" отменялся: отмена завершена"_s : u" отменялся: завершите отмену"_s);
    }
    if (m_loyalty.getBonusImpacts().size() > appliedImpacts(*receipt)) {
        // The answer had come, and was not yet a discount. Only a receipt of somebody who does not mark
        // spendings lacks the mark; what was asked for can then be told from the discount alone.
        const auto marked = unknownSpending();
        makeDiscount(marked ? marked->points
                            : m_loyalty.currentPointsForSpend() / worthOf(hostObject<Config>(), 1));
    }
    return foundOpen();
}

QString Checkout::foundOpen() const
{
    const QString found = u"Найден открытый чек "_s + m_receipt->getIdentifier();
    switch (state()) {
    case State::SpendingUnknown:
        return found + u". "_s + obstacleTo(Action::Pay);
    case State::Paying:
    case State::Settled:
        return found + u": он уже оплачивается, завершите оплату"_s;
    default:
        return found;
    }
}

} // namespace till
