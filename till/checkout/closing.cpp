#include "till/checkout/checkout.h"

#include "host/core/activitynotifier.h"
#include "host/storage/documents.h"
#include "host/utils/basicexception.h"
#include "host/utils/logging.h"
#include "host/utils/money.h"
#include "till/checkout/amounts.h"
#include "till/checkout/receiptmarks.h"
#include "till/checkout/returnparts.h"
#include "till/setup/hostobjects.h"
#include "till/setup/settings.h"

using namespace Qt::StringLiterals;

/// The end of a receipt.
namespace till {

void Checkout::mark(State state) const
{
    setMarkedState(*m_receipt, state);
    save();
}

Payment Checkout::pay()
{
    Payment payment;
    const auto receipt = m_receipt;
    attempt(Action::Pay, payment, [&] {
        if (!markedState(*receipt))
            requireAmounts(*receipt); // once it is being paid there is no way back
        const bool earns = card() && receipt->getDocumentType() == SaleReceipt;
        if (earns && state() != State::Settled)
            earn(payment);
        close();
    });
    if (payment.ok) {
        payment.receipt = receipt;
        m_turnover.closed.append(receipt->getIdentifier());
    }
    return payment;
}

/// What a sale earns has to be told to the loyalty system before the receipt may be closed.
void Checkout::earn(Payment& payment)
{
    mark(State::Paying); // the service may know of an earning that a rollback would not undo
    const int waiting = m_queue.get().waitingCount();
    const bool known = m_loyalty.hasPointsForEarn();
    const auto& config = hostObject<Config>();
    payment.earned = utils::roundToHundredths(pointsFor(config, m_loyalty.getPointsForEarn()));
    payment.earnedIsRounded = worthOf(config, 1) < 1;
    if (known)
        payment.earning = Payment::Earning::Done;
    else if (m_queue.get().waitingCount() > waiting)
        payment.earning = Payment::Earning::Queued;
    mark(State::Settled); // with the numbers that the service knows the earning by
}

// The queue's messages, the sale's record that a return changes, the receipt itself and its journal: all are
// kept or none is. What came before stays known when it is none.
void Checkout::close()
{
    const bool wasMarked = markedState(*m_receipt).has_value();
    const bool marks = !wasMarked && isSharedReturn();
    if (marks) {
        // Others may see that it is closed before this till's store has it.
        mark(State::Paying);
        m_step.settle();
        m_step.resume();
    }
    bool committed = false;
    try {
        storage::Transaction transaction;
        if (wasMarked && wasClosedElsewhere(*m_receipt)) {
            SaveToFileLogic::removeOpenReceipt();
            transaction.commit();
            letGo();
            return;
        }
        if (m_receipt->getDocumentType() == ReturnReceipt)
            requireStillReturnable();
        committed = !card() || m_loyalty.commit(m_receipt);
        if (committed) {
            hostObject<DocumentsDao>().store(m_receipt);
            hostObject<ActivityNotifier>().notify(Event(EActivityListener::ReceiptClosed));
            storage::Journal().add(ReceiptJournal::entry(m_receipt->getIdentifier(), u"closed"_s));
            SaveToFileLogic::removeOpenReceipt();
            transaction.commit();
        }
    } catch (...) {
        m_loyalty.restoreLoyaltySystem(); // the commit has cleared it, but the receipt is still open
        if (marks)
            takeMarkBack();
        throw;
    }
    if (!committed && marks)
        takeMarkBack();
    requireDone(committed);
    letGo();
}

/// Nobody sees it as closed, so it may be rolled back.
void Checkout::takeMarkBack() const
{
    setMarkedState(*m_receipt, std::nullopt);
    save();
}

bool Checkout::isSharedReturn() const
{
    return m_receipt->getDocumentType() == ReturnReceipt &&
           hostObject<DocumentsDao>().isShared(m_receipt->getSaleDocumentId().toString());
}

/// Takes the mark away from a return that others certainly do not see as closed.
void Checkout::freeReturn() noexcept
{
    if (!m_receipt || m_receipt->getDocumentType() != ReturnReceipt ||
        markedState(*m_receipt) != State::Paying)
        return;
    try {
        if (wasClosedElsewhere(*m_receipt) || !hostObject<DocumentsDao>().seesAll())
            return;
        takeMarkBack();
    } catch (const BasicException& failure) { // it can still be paid
        utils::logger(u"till"_s)->warn(u"The return stays as it is: "_s + failure.tr().ru());
    }
}

Result Checkout::rollBack()
{
    Result result;
    attempt(Action::RollBack, result, [&] { abandon(); });
    return result;
}

void Checkout::abandon()
{
    // Said beforehand: the rollback saves a receipt whose spending is undone, and that may never be paid.
    mark(State::Abandoned);
    // Without numbers the service knows nothing of it: it was never asked, or the rollback is done.
    const bool isKnown = card() && !card()->getOperationId().isEmpty();
    requireDone(isKnown ? m_loyalty.rollback(m_receipt) : m_loyalty.cancel());
    m_journal.note(m_receipt->getIdentifier(), u"abandoned"_s);
    SaveToFileLogic::removeOpenReceipt();
    letGo();
}

} // namespace till
