#pragma once

#include <QLatin1StringView>
#include <QUrl>

namespace till {

/// A path of the service's on which a request moves points at once. The plug-in's interface names none, yet
/// the till has to tell them: it marks a spending as unknown before the request leaves, and to mark every
/// request would hold up the cashier for a lost question about the limit. No other path of the service's
/// decides anything at the till.
struct SpendingPath
{
    QLatin1StringView end; ///< how its addresses end
    /// Whether a repeat that the service rejects was judged as the spending of this receipt. The service
    /// looks for a spending under the receipt's number before anything else, and gives its first answer
    /// again. A confirmation is judged by its code first: a wrong one says nothing of what went before.
    bool rejectionSettlesARepeat = false;
};

/// The one that the address ends with, or null. It lives as long as the program.
[[nodiscard]] const SpendingPath* spendingPath(const QUrl& url);

} // namespace till
