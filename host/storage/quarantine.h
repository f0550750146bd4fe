#pragma once

#include "host/utils/export.h"

#include <QByteArray>
#include <QString>
#include <QStringList>

/// Files that are kept under another name, out of the way of new ones: what is damaged may still be rescued,
/// so nothing is ever written over it. SQLite's companions of a file (-wal, -shm, -journal) go with it.
namespace storage {

/// Renames the file to `<path>.damaged-<UTC time>` and its companions to match, durably; returns the new
/// path.
HOST_EXPORT QString quarantine(const QString& path);

/// Copies a database's log, durably, to the name that it would have beside the file set aside; returns the
/// new path.
HOST_EXPORT QString quarantineLogOf(const QString& database);

/// Keeps content that is damaged, durably, in a file of the name that one at `path` would have once it is set
/// aside; returns the new path.
HOST_EXPORT QString quarantineContent(const QString& path, const QByteArray& content);

/// Sets aside companions whose file is gone, as a kill in the middle of setting aside leaves them. Returns
/// where they now lie.
HOST_EXPORT QStringList finishQuarantine(const QString& path);

/// Puts the database `by`, which has no companions, in the place of the one at `path`, where there may be
/// none. The former one becomes `<path>.replaced-<UTC time>`, its companions with it; returns that path,
/// empty when there was none. A kill leaves the one or the other in its place. For who is alone with both.
QString replaceDatabase(const QString& path, const QString& by);

/// The damaged files that lie in the data directory, oldest first, without their companions.
HOST_EXPORT QStringList quarantinedFiles();
/// The same of those that replaceDatabase() has set aside.
HOST_EXPORT QStringList replacedFiles();

} // namespace storage
