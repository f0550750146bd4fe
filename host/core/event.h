#pragma once

#include "host/utils/export.h"

#include <QMetaType>
#include <QString>
#include <QVariantMap>

/// Codes of what happens at the till.
namespace EActivityListener {
/// The events that the plug-in hears or raises; a host has many more.
enum Event : int {
    ReceiptClosed = 10,     ///< a receipt was paid and stored; it is still the session's current document
    ProcessMessage = 72,    ///< a lengthy step begins; the argument "message" is the text to show meanwhile
    BeforeModalDialog = 73, ///< a modal dialog is about to open
};
} // namespace EActivityListener

/// One thing that happened at the till, with its arguments; a value.
class HOST_EXPORT Event
{
public:
    Event() = default;
    /// Without arguments.
    explicit Event(EActivityListener::Event code)
        : m_code(code)
    {}

    /// Adds or replaces one argument.
    void addArgument(const QString& key, const QVariant& value) { m_arguments.insert(key, value); }

    /// What happened; 0 for an event that was made from nothing.
    [[nodiscard]] EActivityListener::Event getCode() const { return m_code; }
    /// The argument's value; invalid when the event has no such argument.
    [[nodiscard]] QVariant getArgument(const QString& key) const { return m_arguments.value(key); }

    /// Equal in code and arguments.
    bool operator==(const Event&) const = default;

private:
    EActivityListener::Event m_code{};
    QVariantMap m_arguments;
};

Q_DECLARE_METATYPE(Event)
