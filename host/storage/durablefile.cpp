#include "host/storage/durablefile.h"

#include "host/storage/lockholder.h"
#include "host/storage/storageerror.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QThread>

#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace storage {

namespace {

constexpr mode_t ownerOnly = S_IRUSR | S_IWUSR;
// Whoever makes a store or sets one aside is soon done; a stranger may never be.
constexpr std::chrono::seconds longestWait{5};
constexpr unsigned long pollMilliseconds = 20;
constexpr auto unfinished = ".unfinished-XXXXXX"; // behind the name of a file that is not yet in its place

class Descriptor
{
public:
    explicit Descriptor(int number)
        : m_number(number)
    {}
    ~Descriptor()
    {
        if (m_number >= 0)
            close(m_number);
    }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    [[nodiscard]] int number() const { return m_number; }

private:
    int m_number;
};

void requirePlain(const struct stat& found, const QString& path)
{
    if (!S_ISREG(found.st_mode))
        throw storageError(StorageFault::Strange, path);
    if (found.st_uid != geteuid() && geteuid() != 0)
        throw storageError(StorageFault::Denied, path, u"it belongs to another user"_s);
}

bool writeAll(int file, const QByteArray& content)
{
    for (qsizetype done = 0; done < content.size();) {
        const ssize_t count =
            write(file, content.constData() + done, static_cast<std::size_t>(content.size() - done));
        if (count < 0 && errno != EINTR)
            return false;
        done += count < 0 ? 0 : count;
    }
    return true;
}

} // namespace

void ensurePrivateFile(const QString& path)
{
    const QByteArray name = QFile::encodeName(path);
    const bool made = mknod(name.constData(), S_IFREG | ownerOnly, 0) == 0;
    if (!made && errno != EEXIST)
        throw systemError(errno, path);
    struct stat found = {};
    if (lstat(name.constData(), &found) != 0)
        throw systemError(errno, path);
    requirePlain(found, path);
    // A strict umask takes from the owner too; an older file may have been opened to others by hand.
    constexpr mode_t everyone = S_IRWXU | S_IRWXG | S_IRWXO;
    const mode_t wrong = made ? (found.st_mode & everyone) ^ ownerOnly : found.st_mode & (S_IRWXG | S_IRWXO);
    if (wrong != 0 && fchmodat(AT_FDCWD, name.constData(), ownerOnly, AT_SYMLINK_NOFOLLOW) != 0)
        throw systemError(errno, path);
    if (made)
        syncDirectoryOf(path);
}

void requirePlainFile(const QString& path)
{
    struct stat found = {};
    if (lstat(QFile::encodeName(path).constData(), &found) == 0)
        requirePlain(found, path);
    else if (errno != ENOENT)
        throw systemError(errno, path);
}

int openPlainFile(const QString& path)
{
    requirePlainFile(path);
    const int opened =
        open(QFile::encodeName(path).constData(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK);
    struct stat found = {};
    if (opened >= 0 && (fstat(opened, &found) != 0 || !S_ISREG(found.st_mode))) {
        close(opened);
        throw storageError(StorageFault::Strange, path);
    }
    return opened;
}

void replaceFile(const QString& path, const QByteArray& content)
{
    QByteArray name = QFile::encodeName(path) + unfinished;
    const Descriptor file(mkostemp(name.data(), O_CLOEXEC));
    if (file.number() < 0)
        throw systemError(errno, path);
    if (fchmod(file.number(), ownerOnly) != 0 || !writeAll(file.number(), content) ||
        fsync(file.number()) != 0 || rename(name.constData(), QFile::encodeName(path).constData()) != 0) {
        const int error = errno;
        unlink(name.constData());
        throw systemError(error, path);
    }
    syncDirectoryOf(path);
}

QString newPrivateFile(const QString& path)
{
    QByteArray name = QFile::encodeName(path) + unfinished;
    const Descriptor file(mkostemp(name.data(), O_CLOEXEC));
    if (file.number() < 0)
        throw systemError(errno, path);
    if (fchmod(file.number(), ownerOnly) != 0) {
        const int error = errno;
        unlink(name.constData());
        throw systemError(error, path);
    }
    return QFile::decodeName(name);
}

void syncFile(const QString& path)
{
    const Descriptor opened(openPlainFile(path));
    if (opened.number() < 0 || fsync(opened.number()) != 0)
        throw systemError(errno, path);
}

bool moveToNewName(const QString& from, const QString& to)
{
    if (renameat2(AT_FDCWD, QFile::encodeName(from).constData(), AT_FDCWD, QFile::encodeName(to).constData(),
                  RENAME_NOREPLACE) != 0) {
        if (errno == EEXIST || errno == ENOENT)
            return false;
        throw systemError(errno, from);
    }
    syncDirectoryOf(to);
    return true;
}

std::optional<QByteArray> readFile(const QString& path)
{
    const Descriptor opened(openPlainFile(path));
    if (opened.number() < 0) {
        if (errno == ENOENT)
            return std::nullopt;
        throw systemError(errno, path);
    }
    QFile file;
    QByteArray content;
    if (file.open(opened.number(), QIODevice::ReadOnly))
        content = file.readAll();
    if (file.error() != QFileDevice::NoError)
        throw storageError(StorageFault::Failed, path, file.errorString());
    return content;
}

void removeFile(const QString& path)
{
    if (unlink(QFile::encodeName(path).constData()) != 0 && errno != ENOENT)
        throw systemError(errno, path);
    removeUnfinished(path);
    syncDirectoryOf(path);
}

void removeUnfinished(const QString& path)
{
    const QFileInfo info(path);
    for (const QString& suffix : {u""_s, u"-wal"_s, u"-shm"_s, u"-journal"_s}) {
        for (const QFileInfo& left : QDir(info.path())
                                         .entryInfoList({info.fileName() + u".unfinished-??????"_s + suffix},
                                                        QDir::Files | QDir::Hidden)) {
            if (unlink(QFile::encodeName(left.filePath()).constData()) != 0 && errno != ENOENT)
                throw systemError(errno, left.filePath());
        }
    }
}

FolderLock::FolderLock(const QString& path)
    : m_descriptor(open(QFile::encodeName(QFileInfo(path).absolutePath()).constData(),
                        O_RDONLY | O_DIRECTORY | O_CLOEXEC))
{
    if (m_descriptor < 0)
        throw systemError(errno, path);
    using Clock = std::chrono::steady_clock;
    const auto end = Clock::now() + longestWait;
    while (flock(m_descriptor, LOCK_EX | LOCK_NB) != 0) {
        const int error = errno;
        if (error == EINTR || (error == EWOULDBLOCK && Clock::now() < end)) {
            QThread::msleep(pollMilliseconds);
            continue;
        }
        close(m_descriptor);
        if (error != EWOULDBLOCK)
            throw systemError(error, path);
        const QString folder = QFileInfo(path).absolutePath();
        throw storageError(StorageFault::Locked, folder, lockHolder(folder));
    }
}

FolderLock::~FolderLock() { close(m_descriptor); }

void syncDirectoryOf(const QString& path)
{
    const QString directory = QFileInfo(path).absolutePath();
    const Descriptor opened(
        open(QFile::encodeName(directory).constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (opened.number() < 0 || fsync(opened.number()) != 0)
        throw systemError(errno, directory);
}

} // namespace storage
