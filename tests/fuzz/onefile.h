#pragma once

#include <QByteArray>
#include <QString>

namespace fuzz {

/// The name of a file that holds these bytes until the next call; in memory where that is possible.
QString fileOf(const QByteArray& bytes);

} // namespace fuzz
