#pragma once

#include <QString>

#include <utility>

namespace stand {

/// Thrown where the books do not allow what was asked, in words for the shop; only before anything is
/// written.
struct Denial
{
    enum class Reason {
        Unknown,     ///< There is nothing of that number.
        NotAllowed,  ///< Not with this card.
        AlreadyUsed, ///< The number is another operation's.
    };

    Reason reason;
    QString text;
};

} // namespace stand
