#pragma once

#include "host/storage/retention.h"
#include "host/utils/config.h"

namespace till {

/// For how long the till keeps what is over.
storage::KeepingTimes keepingTimesOf(const Config& config);

} // namespace till
