#pragma once

#include "host/core/document.h"
#include "host/queue/messagequeue.h"
#include "host/storage/filelock.h"
#include "host/storage/store.h"
#include "host/utils/config.h"
#include "till/checkout/requestguard.h"
#include "till/checkout/scriptedfrontend.h"
#include "till/setup/parts.h"
#include "till/setup/pluginhost.h"
#include "till/setup/standprocess.h"

#include <QSharedPointer>
#include <QString>
#include <QStringList>
#include <QTemporaryDir>

#include <memory>
#include <optional>

namespace till {

/// The till at work: configuration, service, plug-in and the cashier's session. Everything process-wide that
/// the host keeps is set up by the constructor and put back by the destructor, so each till starts fresh;
/// only what lies in the data directory outlives it.
class Till
{
public:
    /// `terminal` answers dialogs that no script answers; may be null, stays the caller's. Goes on with a
    /// receipt that was left open in the data directory. Throws UsageError when another till works on that
    /// directory, or the plug-in or the stand can't be started, BasicException when what is stored can't be
    /// read.
    Till(const Parts& parts, const Config& config, DialogFrontend* terminal);
    ~Till();
    Till(const Till&) = delete;
    Till& operator=(const Till&) = delete;

    [[nodiscard]] BasicLoyaltySystem& loyalty() const { return m_plugin->loyalty(); }
    [[nodiscard]] ScriptedFrontend& cashier() { return m_cashier; }
    /// Throws BasicException when the data directory, or this till's lock in it, is not there any more: then
    /// another till may work on what lies there.
    void requireInPlace() const;
    /// The outgoing queue, opened by the first call. Throws BasicException.
    [[nodiscard]] MessageQueue& queue();

    /// Makes it the current receipt, for the session and for the plug-in, and saves it.
    void open(const QSharedPointer<Document>& receipt);
    /// Puts it, with its positions changed, in the place of the current receipt of the same number, and saves
    /// it.
    void change(const QSharedPointer<Document>& receipt);
    /// Saves the current receipt after a change.
    void save() const;
    /// Spends the points on the current receipt, on which none are spent yet, and makes them a discount. The
    /// same points are asked for again when the outcome of an earlier spending is not known. False when the
    /// loyalty system failed; unknownSpending() then says whether they may be spent all the same. `wanted` is
    /// what the cashier had entered.
    bool spendPoints(double points, double wanted);
    /// The spending on the current receipt whose answer was lost; nothing when there is none.
    [[nodiscard]] std::optional<UnknownSpending> unknownSpending() const;
    /// Whether points are spent on the current sale, also when cancel() has forgotten them since: the service
    /// has not.
    [[nodiscard]] bool hasSpentPoints() const;
    /// Forgets the points of the current receipt without undoing anything. False when the plug-in refused.
    bool cancel();

    /// How far the current receipt has come.
    enum class Stage {
        Open,
        Paying,    ///< the loyalty system may have done its part: the receipt can only be closed
        Settled,   ///< it has, and is not asked again
        Abandoned, ///< the cashier wants to be rid of it, and that is not finished
    };
    [[nodiscard]] Stage stage() const;
    /// Saves the current receipt at that stage; when that can't be done it stays at the one it has.
    void setStage(Stage stage) const;
    /// Ends the current receipt's transaction, stores it as closed and raises the event, all or nothing, and
    /// leaves no receipt open. False when the plug-in refused.
    bool close();
    /// Rolls the current receipt back and leaves no receipt open. False when the plug-in refused.
    bool abandon();

    /// What the start or the last restart found: damaged files, and a receipt to be finished or gone on
    /// with. In Russian; empty: nothing.
    [[nodiscard]] const QString& found() const { return m_found; }

    /// The current receipt, or null.
    [[nodiscard]] QSharedPointer<Document> receipt() const { return m_receipt; }
    /// The loyalty card on the current receipt, or null.
    [[nodiscard]] QSharedPointer<DocumentCardRecord> card() const;

    /// Forgets everything that is not on disk, as a power cut does, and comes back. Returns what it found, in
    /// Russian. Throws UsageError when it can't come back: then nothing more can be done with it.
    QString restart();

    /// Whether this till has a stand of its own, running or not.
    [[nodiscard]] bool ownsService() const { return !m_standSetup.program.isEmpty(); }
    /// Starts or stops its own stand; its address and books stay. Throws UsageError.
    void setServiceUp(bool up);
    /// The base URL of the stand.
    [[nodiscard]] QString serviceUrl() const;

    /// Keeps requests that are not the current receipt's from being taken for it.
    [[nodiscard]] RequestGuard& requestGuard() { return *m_guard; }

    /// How many receipts were opened so far.
    [[nodiscard]] int openedReceipts() const { return m_opened; }
    /// The identifiers of those that were closed, in their order.
    [[nodiscard]] const QStringList& closedReceipts() const { return m_closed; }
    /// Messages that this till's deliveries have brought to the service.
    [[nodiscard]] int deliveredMessages() const { return m_delivered; }
    void countDelivered(int messages) { m_delivered += messages; }

private:
    void startService(Config& settings);
    /// Puts together what needs no command line, and notes what it found.
    void startUp();
    /// What was found of an open receipt, in Russian; empty: nothing.
    QString recover();
    /// What is known of an open receipt that was found, in Russian.
    [[nodiscard]] QString foundOpen() const;
    bool finishSpending(double points);
    void finishAnswered();
    /// How many of the loyalty system's impacts are discounts of the current receipt already.
    [[nodiscard]] int appliedImpacts() const;
    void applyImpacts() const;
    void leave();
    void letGo();
    void shutDown();
    void end();

    Parts m_parts;
    QTemporaryDir m_ownDirectory; ///< unused when the parts name a data directory
    std::unique_ptr<utils::FileLock> m_lock;
    ScriptedFrontend m_cashier;
    utils::Registration m_dialogs;
    StandSetup m_standSetup;               ///< without a program when the configuration names a service
    std::unique_ptr<StandProcess> m_stand; ///< null when there is none, or it is stopped
    std::unique_ptr<PluginHost> m_plugin;
    utils::Registration m_groups;
    ReceiptJournal m_journal;
    std::unique_ptr<RequestGuard> m_guard;
    std::shared_ptr<utils::Database> m_store; ///< held, so that nobody opens and reads it once more
    utils::StoreUser<MessageQueue> m_queue;
    QSharedPointer<Document> m_receipt;
    QString m_found;
    int m_opened = 0;
    int m_delivered = 0;
    QStringList m_closed;
};

} // namespace till
