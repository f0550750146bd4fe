#pragma once

#include "host/core/basicloyaltysystem.h"

#include <QPluginLoader>
#include <QString>
#include <QVersionNumber>

namespace till {

/// The loyalty plug-in, loaded from its file as any host loads it: nothing is known of it but the interfaces.
class PluginHost
{
public:
    /// Loads and initialises the plug-in; its settings are those of the process's Config at this moment.
    /// Throws UsageError when the file is missing, is no plug-in, is built for another Qt, is no loyalty
    /// system, or refuses to start.
    explicit PluginHost(const QString& fileName);
    /// Destroys the plug-in's object; the next PluginHost gets a fresh one.
    ~PluginHost();
    PluginHost(const PluginHost&) = delete;
    PluginHost& operator=(const PluginHost&) = delete;

    [[nodiscard]] BasicLoyaltySystem& loyalty() const { return *m_loyalty; }
    /// The Qt that the plug-in was built for, as its metadata says.
    [[nodiscard]] QVersionNumber builtFor() const;

private:
    void load();
    void start();

    QPluginLoader m_loader;
    BasicLoyaltySystem* m_loyalty = nullptr; ///< the loader's
};

} // namespace till
