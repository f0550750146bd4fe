#pragma once

#include <QDateTime>

namespace stand {

/// The stand's time in UTC: the system's, moved by what a test or an administrator asked for. One for the
/// whole process, for there is one service.
[[nodiscard]] QDateTime now();

/// From now on it is `time`, and goes on from there.
void setClock(const QDateTime& time);

} // namespace stand
