#pragma once

#include "host/network/exchangeoutcome.h"
#include "host/utils/export.h"

#include <QDateTime>
#include <QList>
#include <QMap>
#include <QVariantList>

namespace network {

/// How many attempts to deliver the receipts' messages had which outcome since that time, whichever program
/// made them, as far as the journal has them; an outcome that none had is missing. Throws BasicException when
/// the store can't be used.
[[nodiscard]] HOST_EXPORT QMap<ExchangeOutcome, int> attemptsSince(const QDateTime& time);

/// The same from entries of a journal, counted: rows of `event` ("delivered", "attempt" or "parked"), `code`
/// and how many have both.
[[nodiscard]] HOST_EXPORT QMap<ExchangeOutcome, int> attemptsIn(const QList<QVariantList>& rows);

} // namespace network
