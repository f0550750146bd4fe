#pragma once

#include <QStringList>

namespace stand {

/// The number of the schema, which a file keeps as its user_version.
constexpr int schemaVersion = 1;

/// The statements that make the tables of a new file.
QStringList schema();

} // namespace stand
