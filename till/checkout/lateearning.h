#pragma once

#include "host/queue/outgoingqueue.h"

#include <QString>

#include <optional>

namespace till {

/// What the journal tells of an earning that was delivered later, by what the service answered: "earned 12.50
/// points"; empty: the message was no earning, or its answer names no points.
QString accountOfEarning(const QueuedMessage& message, const QVariant& answer);

/// The points of such an account; nothing when it is none.
std::optional<double> pointsIn(const QString& account);

} // namespace till
