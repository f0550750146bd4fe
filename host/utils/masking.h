#pragma once

#include "host/utils/export.h"

#include <QString>

namespace utils {

/// The text with every number of seven digits or more, such as a card's or a phone's, cut down to an ellipsis
/// and its last four: "/cards/7000000000000017" gives "/cards/…0017". Digits of any script count, and so do
/// those that are written apart, with blanks, dashes, dots, brackets or slashes between them:
/// "+7 (900) 123-45-67" gives "+…4567". What is plainly something else stays: a date or time, the number of a
/// receipt made of both, an IPv4 address, a port before a path, a UUID, an amount of money with its
/// hundredths.
HOST_EXPORT QString maskNumbers(const QString& text);

/// The same for what is known to be the number of a card or a phone, whatever it looks like; one that is too
/// short to show a part of is an ellipsis alone.
HOST_EXPORT QString maskWhole(const QString& number);

/// The same for the path of a request to the service: the numbers in it are masked, and whatever stands
/// behind "/card/" or "/phone/".
HOST_EXPORT QString maskPath(const QString& path);

} // namespace utils
