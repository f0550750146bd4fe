#pragma once

#include "till/checkout/till.h"

#include <QString>

namespace till::window {

/// What of the queue is lost when that till ends now, in English for the administrator; empty: nothing, since
/// it keeps its data, or everything was sent.
QString lossText(Till& till);

} // namespace till::window
