#include "host/utils/filelock.h"

#include "host/utils/datadirectory.h"
#include "host/utils/privatefile.h"
#include "host/utils/storageerror.h"

#include <QFile>

#include <cerrno>
#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

namespace utils {

FileLock::FileLock(const QString& name)
{
    const QString path = dataFile(name);
    ensurePrivateFile(path);
    m_descriptor = open(QFile::encodeName(path).constData(), O_RDONLY | O_CLOEXEC);
    if (m_descriptor >= 0 && flock(m_descriptor, LOCK_EX | LOCK_NB) == 0)
        return;
    const int error = errno;
    if (m_descriptor >= 0)
        close(m_descriptor);
    if (error == EWOULDBLOCK)
        throw storageError(StorageFault::Locked, path);
    throw systemError(error, path);
}

FileLock::~FileLock() { close(m_descriptor); }

} // namespace utils
