#pragma once

#include "host/utils/export.h"

#include <QByteArray>
#include <QString>

#include <optional>

/// Files that only their owner may read (0600, whatever the umask) and that a power cut does not take away.
/// Each function throws BasicException naming the file when the system refuses.
namespace utils {

/// Makes sure that the file is there, empty if it was not, and is private. Never opens a file that exists:
/// closing it again would drop the locks that SQLite holds on it in this process.
HOST_EXPORT void ensurePrivateFile(const QString& path);

/// Puts the content in the place of the file's, so that after a crash at any moment either the old or the new
/// one is there, whole.
HOST_EXPORT void replaceFile(const QString& path, const QByteArray& content);

/// The file's content; nothing when there is no such file.
HOST_EXPORT std::optional<QByteArray> readFile(const QString& path);

/// Removes the file, and what a killed replaceFile() left of it, for good; one that is not there is as
/// welcome.
HOST_EXPORT void removeFile(const QString& path);

/// Makes the entries of the folder that the file lies in durable.
HOST_EXPORT void syncDirectoryOf(const QString& path);

} // namespace utils
