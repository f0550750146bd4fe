#pragma once

#include "host/core/document.h"
#include "host/utils/config.h"
#include "till/pluginhost.h"
#include "till/scriptedfrontend.h"
#include "till/standprocess.h"

#include <QSharedPointer>
#include <QString>

#include <memory>

namespace till {

/// Which programs and libraries a till is put together from.
struct Parts
{
    QString pluginFile;
    QString standProgram; ///< started only when the configuration names no service
};

/// The till at work: configuration, service, plug-in and the cashier's session. Everything process-wide that
/// the host keeps is set up by the constructor and put back by the destructor, so each till starts fresh.
class Till
{
public:
    /// `terminal` answers dialogs that no script answers; may be null, stays the caller's. Throws UsageError
    /// when the plug-in or the stand can't be started.
    Till(const Parts& parts, const Config& config, DialogFrontend* terminal);
    ~Till();
    Till(const Till&) = delete;
    Till& operator=(const Till&) = delete;

    [[nodiscard]] BasicLoyaltySystem& loyalty() const { return m_plugin->loyalty(); }
    [[nodiscard]] ScriptedFrontend& cashier() { return m_cashier; }

    /// Makes it the current receipt, for the session and for the plug-in.
    void open(const QSharedPointer<Document>& receipt);
    /// The current receipt, or null.
    [[nodiscard]] QSharedPointer<Document> receipt() const { return m_receipt; }
    /// The loyalty card on the current receipt, or null.
    [[nodiscard]] QSharedPointer<DocumentCardRecord> card() const;

private:
    ScriptedFrontend m_cashier;
    std::unique_ptr<StandProcess> m_stand; ///< null when the configuration names a service
    std::unique_ptr<PluginHost> m_plugin;
    QSharedPointer<Document> m_receipt;
};

} // namespace till
