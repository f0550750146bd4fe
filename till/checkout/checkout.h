#pragma once

#include "host/core/basicloyaltysystem.h"
#include "host/queue/messagequeue.h"
#include "host/storage/filelock.h"
#include "host/storage/store.h"
#include "host/utils/logging.h"
#include "till/checkout/receiptjournal.h"
#include "till/checkout/requestguard.h"
#include "till/checkout/results.h"
#include "till/checkout/state.h"
#include "till/checkout/storestep.h"

#include <QStringList>

namespace till {

/// The receipts of a till, for whoever counts them.
struct Turnover
{
    int opened = 0;
    QStringList closed = {}; ///< their identifiers, in order
};

/// What the cashier does with one receipt after the other. What is possible at the moment obstacle() decides;
/// an operation that is not possible, or fails, changes nothing that it does not tell of. None throws. Each
/// change is on the disk when its operation returns, and what the service could know of is there before the
/// request leaves.
class Checkout
{
public:
    /// All stay the caller's. When the lock is not in its place any more, another till may work on what lies
    /// in the data directory: then every operation fails.
    Checkout(BasicLoyaltySystem& loyalty, const storage::FileLock& lock, Turnover& turnover);
    /// Lets go of the receipt, which stays on the disk.
    ~Checkout();
    Checkout(const Checkout&) = delete;
    Checkout& operator=(const Checkout&) = delete;

    [[nodiscard]] State state() const;
    /// Why that is not possible now, for the cashier's screen; empty: it is.
    [[nodiscard]] QString obstacleTo(Action action) const { return whyNot(action).shown(); }
    /// The current receipt, or null.
    [[nodiscard]] const QSharedPointer<Document>& receipt() const { return m_receipt; }
    /// The loyalty card on it, or null.
    [[nodiscard]] QSharedPointer<DocumentCardRecord> card() const;
    /// The spending on it whose answer was lost; nothing when there is none.
    [[nodiscard]] std::optional<UnknownSpending> unknownSpending() const;
    /// Whether points are spent on the current sale, also when forgetPoints() was called since: the service
    /// has not forgotten them.
    [[nodiscard]] bool hasSpentPoints() const;

    /// Opens a sale of these positions, numbered from 1. An unpaid receipt without spent points makes way for
    /// it. `identifier`: one that no receipt of this till ever had.
    Result openSale(const QString& identifier, const QList<Line>& lines);
    /// Opens a return of a closed sale; else as openSale().
    Result openReturn(const QString& identifier, const QString& sale, const QList<ReturnLine>& lines);
    /// The return that openReturn() would open, to look at what it comes to.
    [[nodiscard]] Draft returnOf(const QString& identifier, const QString& sale,
                                 const QList<ReturnLine>& lines) const;
    /// Puts other positions in the place of the sale's.
    Result setLines(const QList<Line>& lines);

    Identification identifyByCard(const QString& number);
    /// `phone`: digits only. Where it has several cards, the host's dialog asks which.
    Identification identifyByPhone(const QString& phone);
    /// Asks again for the card on the receipt.
    Result refreshCard();

    /// Asks how many points may be spent; the loyalty system keeps the answer as its points for spend.
    Result requestLimit();
    /// Spends points as a discount, as many of them as the card allows. Where the outcome of an earlier
    /// spending is not known, the same points are asked for again.
    Spending spend(double points);
    /// Forgets the points of the receipt without undoing anything.
    Result forgetPoints();

    /// Earns, closes and stores the receipt, and leaves none open.
    Payment pay();
    /// Undoes what was done for the receipt, and leaves none open.
    Result rollBack();

    /// Goes on with the receipt that was left open, if any. What was found; empty: nothing. Throws
    /// BasicException when it can't be read. Called once, before anything else.
    tr::Tr recover();

    /// While one lives, requests are not the receipt's, and leave unguarded.
    using Pause = RequestGuard::Pause;
    [[nodiscard]] Pause pauseGuard() { return Pause(m_guard); }

    /// While one lives, the cashier is asked something in the middle of an operation: what it has changed so
    /// far is on the disk, and nobody has to wait for the store. Throws BasicException when it is not.
    using Break = StoreStep::Break;
    [[nodiscard]] Break breakStep() { return Break(m_step); }

private:
    [[nodiscard]] tr::Tr whyNot(Action action) const;
    /// What is said while the outcome of a spending is not known, with the ways out.
    [[nodiscard]] tr::Tr doubt() const { return whyNot(Action::Pay); }
    void requirePossible(Action action) const;
    void attempt(Action action, Result& result, const std::function<void()>& operation);
    void requireDone(bool done) const;
    void requireCard() const;

    void open(const QSharedPointer<Document>& receipt);
    void change(const QSharedPointer<Document>& receipt);
    void adopt(const QSharedPointer<Document>& receipt);
    void goBack();
    void tryToGoBack();
    void save() const;
    void identify(const QString& number);

    /// What the loyalty system spent becomes a discount.
    void finishSpending(double points);
    [[noreturn]] void failSpending();
    /// False, and the outcome is not known, when nobody can tell whose discount it is.
    bool makeDiscount(double points);
    void saveAppliedImpacts() const;

    /// Saves the receipt at that state.
    void mark(State state) const;
    void earn(Payment& payment);
    /// Ends the receipt's transaction, stores it as closed and raises the event: all or nothing.
    void close();
    void requireStillReturnable() const;
    [[nodiscard]] bool isSharedReturn() const;
    void takeMarkBack() const;
    void freeReturn() noexcept;
    void abandon();
    void letGo();
    [[nodiscard]] tr::Tr foundOpen() const;

    BasicLoyaltySystem& m_loyalty;
    const storage::FileLock& m_lock;
    Turnover& m_turnover;
    ReceiptJournal m_journal;
    storage::StoreUser<MessageQueue> m_queue;
    QSharedPointer<Document> m_receipt;
    std::optional<utils::LogReceipt> m_itsLines;
    bool m_isAstray = false; ///< it tells of what could not be kept
    StoreStep m_step;
    RequestGuard m_guard;
};

} // namespace till
