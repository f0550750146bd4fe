#include "till/checkout/checkout.h"

#include "host/core/session.h"
#include "host/storage/documents.h"
#include "host/utils/basicexception.h"
#include "host/utils/logging.h"
#include "till/checkout/failure.h"
#include "till/checkout/receiptmarks.h"
#include "till/checkout/receiptsums.h"
#include "till/checkout/screen.h"
#include "till/setup/hostobjects.h"

using namespace Qt::StringLiterals;

namespace till {

namespace {

/// All values at once: an identifier may look like a placeholder.
tr::Tr filled(const tr::Tr& text, const Document& receipt)
{
    const auto unknown = unknownSpendingOf(receipt);
    if (unknown && text.ru().contains(u"%2"_s))
        return text.arg(receipt.getIdentifier(), screen::amount(unknown->points));
    return text.ru().contains(u"%1"_s) ? text.arg(receipt.getIdentifier()) : text;
}

} // namespace

Checkout::Checkout(BasicLoyaltySystem& loyalty, const storage::FileLock& lock, Turnover& turnover)
    : m_loyalty(loyalty)
    , m_lock(lock)
    , m_turnover(turnover)
    , m_guard([this] { return m_receipt; }, m_journal, m_step)
{}

Checkout::~Checkout() { letGo(); }

State Checkout::state() const
{
    if (!m_receipt)
        return State::Idle;
    if (const auto marked = markedState(*m_receipt))
        return *marked;
    if (unknownSpending())
        return State::SpendingUnknown;
    if (m_receipt->getDocumentType() == ReturnReceipt)
        return State::Return;
    return hasSpentPoints() ? State::Discounted : State::Sale;
}

tr::Tr Checkout::whyNot(Action action) const
{
    const tr::Tr text = obstacle(action, state());
    return m_receipt ? filled(text, *m_receipt) : text;
}

void Checkout::requirePossible(Action action) const
{
    m_lock.requireInPlace();
    if (const tr::Tr refusal = whyNot(action); !refusal.isEmpty())
        fail(refusal);
}

void Checkout::attempt(Action action, Result& result, const std::function<void()>& operation)
{
    carryOut(result, [&] {
        if (m_isAstray)
            goBack();
        requirePossible(action);
        try {
            m_step.run(operation);
        } catch (...) {
            m_isAstray = m_step.hasLost();
            tryToGoBack();
            freeReturn();
            throw;
        }
    });
}

/// What the loyalty system could not do fails in its own words.
void Checkout::requireDone(bool done) const
{
    if (!done)
        fail(m_loyalty.getLastErrorString());
}

void Checkout::requireCard() const
{
    if (!card())
        fail({u"tillNoCard"_s, u"В чеке нет карты: сначала найдите её по номеру или телефону"_s});
}

QSharedPointer<DocumentCardRecord> Checkout::card() const
{
    return m_receipt ? m_receipt->getCardRecord(KyrLoyaltySystem) : nullptr;
}

std::optional<UnknownSpending> Checkout::unknownSpending() const
{
    return m_receipt ? unknownSpendingOf(*m_receipt) : std::nullopt;
}

bool Checkout::hasSpentPoints() const
{
    return m_receipt && m_receipt->getDocumentType() == SaleReceipt &&
           (!m_loyalty.getBonusImpacts().isEmpty() || bonusDiscountOf(*m_receipt) != 0);
}

void Checkout::save() const { MockFactory<SaveToFileLogic>::create()->save(m_receipt, {}); }

void Checkout::change(const QSharedPointer<Document>& receipt)
{
    MockFactory<SaveToFileLogic>::create()->save(receipt, {});
    adopt(receipt);
}

/// Makes it the current receipt, for the session, for the log and for the loyalty system.
void Checkout::adopt(const QSharedPointer<Document>& receipt)
{
    m_receipt = receipt;
    m_itsLines.reset(); // gives back what was before
    if (receipt)
        m_itsLines.emplace(receipt->getIdentifier());
    hostObject<Session>().setDocument(receipt);
    m_loyalty.setDocument(receipt);
}

/// What could not be kept was not done: goes on with the receipt as it lies on the disk, as a restart does.
void Checkout::goBack()
{
    adopt(SaveToFileLogic::loadOpenReceipt());
    if (m_receipt)
        m_loyalty.restoreLoyaltySystem();
    m_isAstray = false;
}

void Checkout::tryToGoBack()
{
    try {
        if (m_isAstray)
            goBack();
    } catch (const BasicException& failure) { // no operation begins before it is done
        utils::logger(u"till"_s)->error(u"The receipt cannot be read back: "_s + failure.tr().ru());
    }
}

void Checkout::letGo() { adopt(nullptr); }

} // namespace till
