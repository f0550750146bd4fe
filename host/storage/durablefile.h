#pragma once

#include "host/utils/export.h"

#include <QByteArray>
#include <QString>

#include <optional>

/// Files that only their owner may read (0600, whatever the umask) and that a power cut does not take away.
/// Each function throws BasicException naming the file when the system refuses.
namespace storage {

/// Makes sure that the file is there, empty if it was not, and is private. Never opens a file that exists:
/// closing it again would drop the locks that SQLite holds on it in this process.
HOST_EXPORT void ensurePrivateFile(const QString& path);

/// Throws when something lies there that is no plain file of this user's own: what a link leads to is none of
/// the till's, and a pipe would let it wait for ever. Root may work with anybody's.
HOST_EXPORT void requirePlainFile(const QString& path);

/// Opens a plain file for reading, without ever waiting, and returns its descriptor; -1 when there is none
/// or the system refuses, with the reason in errno. Throws like requirePlainFile().
HOST_EXPORT int openPlainFile(const QString& path);

/// Puts the content in the place of the file's, so that after a crash at any moment either the old or the new
/// one is there, whole.
HOST_EXPORT void replaceFile(const QString& path, const QByteArray& content);

/// The file's content; nothing when there is no such file.
HOST_EXPORT std::optional<QByteArray> readFile(const QString& path);

/// A file of a new name beside `path`, empty and private, to be moved to its place when it is finished.
HOST_EXPORT QString newPrivateFile(const QString& path);

/// Makes its content durable, whoever wrote it. Not for a file that this process has open as a database.
HOST_EXPORT void syncFile(const QString& path);

/// Gives the file another name, durably. Where a file of that name is there already, both stay as they are
/// and false is returned.
HOST_EXPORT bool moveToNewName(const QString& from, const QString& to);

/// Removes the file, and what a killed replaceFile() left of it, for good; one that is not there is as
/// welcome.
HOST_EXPORT void removeFile(const QString& path);

/// Removes what killed programs left of files that were to become this one, with what SQLite put beside them.
HOST_EXPORT void removeUnfinished(const QString& path);

/// Holds the folder that the file lies in while the object lives, among all threads and programs that ask for
/// it in this way; waits for the one that has it, but not for ever.
class HOST_EXPORT FolderLock
{
public:
    explicit FolderLock(const QString& path);
    ~FolderLock();
    FolderLock(const FolderLock&) = delete;
    FolderLock& operator=(const FolderLock&) = delete;

private:
    int m_descriptor;
};

/// Makes the entries of the folder that the file lies in durable.
HOST_EXPORT void syncDirectoryOf(const QString& path);

} // namespace storage
