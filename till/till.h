#pragma once

#include "host/core/document.h"
#include "host/network/messagequeue.h"
#include "host/utils/config.h"
#include "till/pluginhost.h"
#include "till/scriptedfrontend.h"
#include "till/standprocess.h"

#include <QSharedPointer>
#include <QString>
#include <QStringList>
#include <QTemporaryDir>

#include <memory>

namespace till {

/// Which programs, libraries and folders a till is put together from.
struct Parts
{
    QString pluginFile;
    QString standProgram;  ///< started only when the configuration names no service
    QString dataDirectory; ///< empty: a new one, removed when the till is gone
};

/// The till at work: configuration, service, plug-in and the cashier's session. Everything process-wide that
/// the host keeps is set up by the constructor and put back by the destructor, so each till starts fresh;
/// only what lies in the data directory outlives it.
class Till
{
public:
    /// `terminal` answers dialogs that no script answers; may be null, stays the caller's. Goes on with a
    /// receipt that was left open in the data directory. Throws UsageError when the plug-in or the stand
    /// can't be started, BasicException when what is stored can't be read.
    Till(const Parts& parts, const Config& config, DialogFrontend* terminal);
    ~Till();
    Till(const Till&) = delete;
    Till& operator=(const Till&) = delete;

    [[nodiscard]] BasicLoyaltySystem& loyalty() const { return m_plugin->loyalty(); }
    [[nodiscard]] ScriptedFrontend& cashier() { return m_cashier; }
    /// The outgoing queue, opened by the first call. Throws BasicException.
    [[nodiscard]] MessageQueue& queue();

    /// Makes it the current receipt, for the session and for the plug-in, and saves it.
    void open(const QSharedPointer<Document>& receipt);
    /// Puts it, with its positions changed, in the place of the current receipt of the same number, and saves
    /// it.
    void change(const QSharedPointer<Document>& receipt);
    /// Saves the current receipt after a change.
    void save() const;
    /// Gives the positions what the plug-in's bonus impacts say and they do not have yet, and saves.
    void applyImpacts() const;
    /// Notes on the current receipt that the loyalty system has done its part, and saves it: after a power
    /// cut it is not asked again.
    void markSettled() const;
    [[nodiscard]] bool isSettled() const;
    /// Stores the current receipt as closed, raises the event and leaves no receipt open.
    void close();
    /// Rolls the current receipt back and leaves no receipt open. False when the plug-in refused.
    bool abandon();

    /// What the start or the last restart found to be finished or gone on with, in Russian; empty: nothing.
    [[nodiscard]] const QString& found() const { return m_found; }

    /// The current receipt, or null.
    [[nodiscard]] QSharedPointer<Document> receipt() const { return m_receipt; }
    /// The loyalty card on the current receipt, or null.
    [[nodiscard]] QSharedPointer<DocumentCardRecord> card() const;

    /// Forgets everything that is not on disk, as a power cut does, and comes back. Returns what it found, in
    /// Russian. Throws like the constructor.
    QString restart();

    /// Whether this till has a stand of its own, running or not.
    [[nodiscard]] bool ownsService() const { return !m_standSetup.program.isEmpty(); }
    /// Starts or stops its own stand; its address and books stay. Throws UsageError.
    void setServiceUp(bool up);
    /// The base URL of the stand.
    [[nodiscard]] QString serviceUrl() const;

    /// How many receipts were opened so far.
    [[nodiscard]] int openedReceipts() const { return m_opened; }
    /// The identifiers of those that were closed, in their order.
    [[nodiscard]] const QStringList& closedReceipts() const { return m_closed; }
    /// Messages that this till's deliveries have brought to the service.
    [[nodiscard]] int deliveredMessages() const { return m_delivered; }
    void countDelivered(int messages) { m_delivered += messages; }

private:
    void startService(Config& settings);
    void startUp();
    /// What was found, in Russian; empty: nothing.
    QString recover();
    void finishClosing();
    void letGo();
    void shutDown();

    Parts m_parts;
    QTemporaryDir m_ownDirectory; ///< unused when the parts name a data directory
    ScriptedFrontend m_cashier;
    StandSetup m_standSetup;               ///< without a program when the configuration names a service
    std::unique_ptr<StandProcess> m_stand; ///< null when there is none, or it is stopped
    std::unique_ptr<PluginHost> m_plugin;
    std::unique_ptr<MessageQueue> m_queue;
    QSharedPointer<Document> m_receipt;
    QString m_found;
    int m_opened = 0;
    int m_delivered = 0;
    QStringList m_closed;
};

} // namespace till
