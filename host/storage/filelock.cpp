#include "host/storage/filelock.h"

#include "host/storage/datadirectory.h"
#include "host/storage/durablefile.h"
#include "host/storage/fileidentity.h"
#include "host/storage/lockholder.h"
#include "host/storage/storageerror.h"

#include <cerrno>
#include <sys/file.h>
#include <unistd.h>

#include <utility>

namespace storage {

FileLock::FileLock(const QString& name)
{
    const QString path = dataFile(name);
    if (!take(path))
        throw storageError(StorageFault::Locked, path, lockHolder(path));
}

std::unique_ptr<FileLock> FileLock::ifFree(const QString& name)
{
    std::unique_ptr<FileLock> lock(new FileLock); // its constructor is not make_unique's to call
    return lock->take(dataFile(name)) ? std::move(lock) : nullptr;
}

bool FileLock::take(const QString& path)
{
    ensurePrivateFile(path);
    m_path = path;
    m_descriptor = openPlainFile(path);
    if (m_descriptor >= 0 && flock(m_descriptor, LOCK_EX | LOCK_NB) == 0)
        return true;
    const int error = errno;
    if (m_descriptor >= 0)
        close(m_descriptor);
    m_descriptor = -1;
    if (error == EWOULDBLOCK)
        return false;
    throw systemError(error, path);
}

void FileLock::requireInPlace() const
{
    struct stat held = {};
    if (fstat(m_descriptor, &held) != 0 || identityOf(m_path) != identityOf(held))
        throw storageError(StorageFault::Gone, m_path);
}

FileLock::~FileLock()
{
    if (m_descriptor >= 0)
        close(m_descriptor);
}

} // namespace storage
