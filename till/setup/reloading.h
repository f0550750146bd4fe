#pragma once

#include "till/setup/settings.h"

#include <functional>

namespace till {

/// Reads the settings of these options anew, as the start did, and hands them on. Those that cannot be used,
/// or that `take` throws at, are told in the log with what is wrong, and the former stay.
void reloadSettings(const Options& given, const std::function<void(const Options&, const Config&)>& take);

} // namespace till
