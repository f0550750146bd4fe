#pragma once

#include "host/utils/export.h"

#include <QObject>
#include <QStringList>

/// What every plug-in of the host is. The host's plug-in loader asks the loaded object for this interface
/// under its identifier. The three lists tell the host what a plug-in brings besides its main interface; each
/// is empty unless a plug-in says otherwise.
class HOST_EXPORT BasicPlugin
{
public:
    BasicPlugin() = default;
    virtual ~BasicPlugin();
    BasicPlugin(const BasicPlugin&) = delete;
    BasicPlugin& operator=(const BasicPlugin&) = delete;

    /// Features, by the names that the host has for them.
    [[nodiscard]] virtual QStringList features() const { return {}; }
    /// Handlers, by the names that the host has for them.
    [[nodiscard]] virtual QStringList handlers() const { return {}; }
    /// Triggers, by the names that the host has for them.
    [[nodiscard]] virtual QStringList triggers() const { return {}; }
};

Q_DECLARE_INTERFACE(BasicPlugin, "ru.poshost.AbstractPlugin")
