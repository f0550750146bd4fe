#pragma once

#include <QList>
#include <QStringList>

namespace stand {

/// The statements which bring a file of version n to version n + 1, n being the place in the list.
/// A step that was once released is never changed; a new one is added behind it.
QList<QStringList> upgrades();

} // namespace stand
