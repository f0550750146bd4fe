#include "host/storage/datadirectory.h"

#include "host/storage/durablefile.h"
#include "host/storage/fileidentity.h"
#include "host/storage/storageerror.h"

#include <QDir>
#include <QFileInfo>

#include <cerrno>
#include <fcntl.h>
#include <mutex>
#include <sys/stat.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace storage {

namespace {

struct Directory
{
    std::mutex mutex;
    QString path;
    /// Of the folder since it was first used. Held, so that no other one gets its number; -1: not used yet.
    int descriptor = -1;
};

Directory& directory()
{
    static Directory named;
    return named;
}

void make(const QString& path)
{
    const QString parent = QFileInfo(path).path();
    if (!QFileInfo::exists(parent))
        make(parent);
    const QByteArray name = QFile::encodeName(path);
    if (mkdir(name.constData(), S_IRWXU) != 0) {
        if (errno == EEXIST && QFileInfo(path).isDir())
            return; // another process was quicker
        throw systemError(errno, path);
    }
    if (chmod(name.constData(), S_IRWXU) != 0) // a strict umask takes from the owner too
        throw systemError(errno, path);
    syncDirectoryOf(path);
}

/// Throws when another folder took the place of the one that was used so far, or everybody may write it.
void requireInPlace(int descriptor, const QString& path)
{
    struct stat used = {};
    struct stat found = {};
    if (fstat(descriptor, &used) != 0)
        throw systemError(errno, path);
    if (stat(QFile::encodeName(path).constData(), &found) != 0 || identityOf(found) != identityOf(used))
        throw storageError(StorageFault::Gone, path);
    if ((found.st_mode & S_IWOTH) != 0)
        throw storageError(StorageFault::Exposed, path);
}

} // namespace

void setDataDirectory(const QString& path)
{
    Directory& named = directory();
    const std::lock_guard lock(named.mutex);
    if (named.descriptor >= 0)
        close(named.descriptor);
    named.descriptor = -1;
    named.path = path.isEmpty() ? QString() : QDir::cleanPath(QDir::current().absoluteFilePath(path));
}

QString dataFile(const QString& name)
{
    if (QDir::isAbsolutePath(name))
        return name;
    Directory& named = directory();
    const std::lock_guard lock(named.mutex);
    const QString& path = named.path;
    if (path.isEmpty())
        throw BasicException(tr::Tr(u"hostDataDirectoryUnset"_s,
                                    u"Не указана папка данных кассы: сохранить и прочитать данные негде "
                                    "(программа кассы не вызвала storage::setDataDirectory)"_s));
    if (named.descriptor < 0) {
        if (!QFileInfo(path).isDir())
            make(path);
        named.descriptor = open(QFile::encodeName(path).constData(), O_PATH | O_DIRECTORY | O_CLOEXEC);
        if (named.descriptor < 0)
            throw systemError(errno, path);
    }
    requireInPlace(named.descriptor, path);
    return QDir(path).filePath(name);
}

} // namespace storage
