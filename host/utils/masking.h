#pragma once

#include "host/utils/export.h"

#include <QString>

namespace utils {

/// The text with every run of seven digits or more, such as a card or a phone number, cut down to an ellipsis
/// and its last four: "/cards/7000000000000017" gives "/cards/…0017".
HOST_EXPORT QString maskNumbers(const QString& text);

} // namespace utils
