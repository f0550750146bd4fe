#pragma once

#include <QDateTime>
#include <QTimeZone>

namespace utils {

/// The moment so many milliseconds after the beginning of 1970, in UTC.
[[nodiscard]] inline QDateTime utcFromMilliseconds(qint64 milliseconds)
{
    // By way of a zone, which every Qt from 6.4 on takes; and never of local time, in which two moments may
    // look the same.
    return QDateTime::fromMSecsSinceEpoch(milliseconds, QTimeZone::utc()).toUTC();
}

} // namespace utils
