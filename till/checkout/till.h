#pragma once

#include "host/core/dialog.h"
#include "host/queue/messagequeue.h"
#include "host/storage/filelock.h"
#include "host/storage/store.h"
#include "host/utils/config.h"
#include "host/utils/registration.h"
#include "till/checkout/checkout.h"
#include "till/setup/language.h"
#include "till/setup/parts.h"
#include "till/setup/pluginhost.h"
#include "till/setup/standprocess.h"

#include <QString>
#include <QTemporaryDir>

#include <memory>
#include <optional>

namespace till {

/// What a delivery on the spot came to.
struct DeliveryResult : Result
{
    std::optional<int> delivered = {}; ///< messages; nothing: none could be tried
};

/// The till at work: configuration, service, plug-in and store, and the checkout on top of them. Everything
/// process-wide that the host keeps is set up by the constructor and put back by the destructor, so each till
/// starts fresh; only what lies in the data directory outlives it.
class Till
{
public:
    /// `cashier` answers dialogs and stays the caller's. Goes on with a receipt that was left open in the
    /// data directory. Throws UsageError when another till works on that directory, or the plug-in or the
    /// stand can't be started, BasicException when what is stored can't be read.
    Till(const Parts& parts, const Config& config, DialogFrontend& cashier);
    ~Till();
    Till(const Till&) = delete;
    Till& operator=(const Till&) = delete;

    [[nodiscard]] Checkout& checkout() const { return *m_checkout; }
    [[nodiscard]] BasicLoyaltySystem& loyalty() const { return m_plugin->loyalty(); }
    /// The outgoing queue, opened by the first call. Throws BasicException.
    [[nodiscard]] MessageQueue& queue();

    /// Sends what waits in the outgoing queue, each message once. Fails when some is left.
    DeliveryResult deliver();

    /// What the start or the last restart found: damaged files, and a receipt to be finished or gone on
    /// with. Empty: nothing.
    [[nodiscard]] const tr::Tr& found() const { return m_found; }

    /// Forgets everything that is not on disk, as a power cut does, and comes back. Returns what it found.
    /// Throws UsageError when it can't come back: then nothing more can be done with it.
    tr::Tr restart();

    /// Whether this till has a stand of its own, running or not.
    [[nodiscard]] bool ownsService() const { return !m_standSetup.program.isEmpty(); }
    /// Whether what it keeps is there at the next start; else it is gone with this object.
    [[nodiscard]] bool keepsData() const { return !m_parts.dataDirectory.isEmpty(); }
    /// Starts or stops its own stand; its address and books stay. Throws UsageError.
    void setServiceUp(bool up);
    /// The base URL of the stand.
    [[nodiscard]] QString serviceUrl() const;

    [[nodiscard]] const Turnover& turnover() const { return m_turnover; }
    /// Messages that this till's deliveries have brought to the service.
    [[nodiscard]] int deliveredMessages() const { return m_delivered; }

private:
    void startService(Config& settings);
    /// Puts together what needs no command line, and notes what it found.
    void startUp();
    void shutDown();
    void end();

    Language m_language; ///< before the first text
    Parts m_parts;
    QTemporaryDir m_ownDirectory; ///< unused when the parts name a data directory
    std::unique_ptr<storage::FileLock> m_lock;
    std::unique_ptr<DialogFrontend> m_questions; ///< the cashier's, asked in a break of the step
    utils::Registration m_dialogs;
    StandSetup m_standSetup;               ///< without a program when the configuration names a service
    std::unique_ptr<StandProcess> m_stand; ///< null when there is none, or it is stopped
    std::unique_ptr<PluginHost> m_plugin;
    utils::Registration m_groups;
    std::shared_ptr<storage::Database> m_store; ///< held, so that nobody opens and reads it once more
    storage::StoreUser<MessageQueue> m_queue;
    Turnover m_turnover;
    std::unique_ptr<Checkout> m_checkout;
    tr::Tr m_found;
    int m_delivered = 0;
};

} // namespace till
