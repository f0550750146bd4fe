#pragma once

#include "host/network/exchangeoutcome.h"
#include "host/utils/export.h"

#include <QDateTime>
#include <QMap>

namespace network {

/// How many attempts to deliver the receipts' messages had which outcome since that time, whichever program
/// made them, as far as the journal has them; an outcome that none had is missing. Throws BasicException when
/// the store can't be used.
[[nodiscard]] HOST_EXPORT QMap<ExchangeOutcome, int> attemptsSince(const QDateTime& time);

} // namespace network
