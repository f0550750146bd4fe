#pragma once

#include <QString>

#include <optional>

namespace till {

/// What is wrong with something that was said, in English for the administrator.
struct Fault
{
    QString text;
    QString remedy = {}; ///< what to do; empty where the text says it

    /// "text; remedy"
    [[nodiscard]] QString toString() const;
};

/// Why that cannot be a service's address, behind which the plug-in puts each path as it stands; nothing: it
/// can. Nothing of the address is in it.
std::optional<Fault> faultOfAddress(const QString& address);

} // namespace till
