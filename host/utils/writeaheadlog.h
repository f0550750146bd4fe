#pragma once

#include <QString>

namespace utils {

/// The newest version (user_version) that the log beside an SQLite file gives it, when the file is of that
/// kind; 0 when the log gives none. Reads the log alone: SQLite itself can't look into it without making
/// files. A commit that was cut off in the middle counts too.
int versionInLog(const QString& database, int applicationId);

} // namespace utils
