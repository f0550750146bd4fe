#pragma once

#include "host/core/abstractdocument.h"
#include "host/network/restclient.h"

#include <QDateTime>
#include <QString>

#include <optional>

namespace till {

/// A spending whose answer was lost: the service may have performed it or not.
struct UnknownSpending
{
    double points = 0; ///< as they were asked of the service
    double wanted = 0; ///< what the cashier had entered, before limits
    QDateTime since;   ///< when the request left first, local time
};

/// The mark on the receipt; nothing when the outcome of every spending on it is known.
std::optional<UnknownSpending> unknownSpendingOf(const AbstractDocument& receipt);
/// Puts the mark on the receipt or, with nothing, takes it away. Saving is the caller's.
void setUnknownSpending(AbstractDocument& receipt, const std::optional<UnknownSpending>& spending);

/// Whether a request to that address spends points at once.
bool movesPoints(const QUrl& url);

/// Whether a spending that ended so proves that nothing was spent for the receipt; `askedAgain`: the outcome
/// of an earlier one was not known either.
bool provesNothingSpent(const RestExchange& exchange, bool askedAgain);

} // namespace till
