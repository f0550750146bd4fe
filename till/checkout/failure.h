#pragma once

#include <QString>

namespace till {

/// Throws BasicException: a failure that the till itself found, in Russian for the cashier.
[[noreturn]] void fail(const QString& text);

} // namespace till
