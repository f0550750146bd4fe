#pragma once

#include "stand/http/http.h"

#include <QString>

namespace stand {

/// How a customer confirms a spending.
struct CodeRules
{
    QString fixedCode;              ///< Empty: four random digits each time.
    qint64 lifetimeInSeconds = 300; ///< With 0 every code comes too late.
    int attempts = 3;
    bool areTold = true; ///< On stderr, to the person who plays the customer.
};

/// The code of the next message to a customer.
[[nodiscard]] QString nextCode(const CodeRules& rules);

/// All but the last four digits covered.
[[nodiscard]] QString masked(const QString& phone);

/// The body as it may be kept: in that of a confirmation the code is covered, and if the body is none that
/// has one in its place, all of it.
[[nodiscard]] QByteArray withoutCode(const Request& request);

} // namespace stand
