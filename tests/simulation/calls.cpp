// What the C library does with names, and with files beside SQLite, on the disk of the simulation: Qt, SQLite
// and the host find these functions in the program before they find the library's own. Other folders are
// none of their business.

#include "tests/simulation/fate.h"
#include "tests/simulation/folders.h"
#include "tests/simulation/libraryown.h"

#include <QFile>

#include <cerrno>
#include <cstdarg>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace simulation {

namespace {

bool exists(const char* path)
{
    struct stat found = {};
    return lstat(path, &found) == 0;
}

bool isFolder(int file)
{
    struct stat found = {};
    return fstat(file, &found) == 0 && S_ISDIR(found.st_mode);
}

QByteArray contentOf(const char* path)
{
    const Folders::Aside aside;
    QFile file(QString::fromUtf8(path));
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

/// Whether a change of the disk fails, with errno as the reason.
bool isRefused()
{
    Fate& fate = Fate::one();
    fate.moment();
    const auto trouble = fate.isDead() ? std::optional(Trouble::DiskFails) : fate.ofAccess();
    if (trouble)
        errno = *trouble == Trouble::DiskFull ? ENOSPC : EIO;
    return trouble.has_value();
}

/// A call that makes the file if it is not there; less than 0: it failed.
template <class Call>
int making(const char* path, Call call)
{
    const bool isNew = Folders::has(path) && !exists(path);
    if (isNew && isRefused())
        return -1;
    const int outcome = call();
    if (isNew && outcome >= 0)
        Folders::made(path);
    return outcome;
}

int opening(const char* path, int flags, mode_t mode)
{
    static auto* const own = libraryOwn<int(const char*, int, ...)>("open64");
    const auto call = [&] { return own(path, flags, mode); };
    return (flags & O_CREAT) != 0 ? making(path, call) : call();
}

/// As mkostemp() does, but with the same names each time.
int openingNew(char* path, int flags)
{
    constexpr std::size_t letters = 6;
    char* const end = path + std::string_view(path).size();
    for (int number = 0;; ++number) {
        int rest = number;
        for (char* letter = end - letters; letter != end; ++letter, rest /= 26)
            *letter = static_cast<char>('a' + rest % 26);
        const int opened = opening(path, flags | O_RDWR | O_CREAT | O_EXCL, S_IRUSR | S_IWUSR);
        if (opened >= 0 || errno != EEXIST)
            return opened;
    }
}

template <class Call>
int moving(const char* from, const char* to, Call call)
{
    if (!Folders::has(from))
        return call();
    if (isRefused())
        return -1;
    const auto lost = exists(to) ? std::optional(contentOf(to)) : std::nullopt;
    const int outcome = call();
    if (outcome == 0) {
        Folders::moved(from, to, lost);
        Disk::named(from, to);
        Disk::forget(from);
    }
    return outcome;
}

int removing(const char* path)
{
    static auto* const own = libraryOwn<int(const char*)>("unlink");
    if (!Folders::has(path) || !exists(path))
        return own(path);
    if (isRefused())
        return -1;
    const QByteArray content = contentOf(path);
    const int outcome = own(path);
    if (outcome == 0) {
        Folders::removed(path, content);
        Disk::forget(path);
    }
    return outcome;
}

/// Of its own files SQLite tells Disk, and what became of a folder it does not ask.
int syncing(int file, int (*own)(int), bool isBySqlite)
{
    const std::string path = Folders::pathOf(file);
    if (path.empty())
        return own(file);
    if (isBySqlite ? Fate::one().isDead() : isRefused())
        return -1;
    const int outcome = own(file);
    if (outcome == 0 && isFolder(file))
        Folders::synced(path);
    else if (outcome == 0 && !isBySqlite)
        Disk::forget(path);
    return outcome;
}

ssize_t writing(int file, const void* bytes, size_t count)
{
    static auto* const own = libraryOwn<ssize_t(int, const void*, size_t)>("write");
    const std::string path = Folders::pathOf(file);
    if (!path.empty()) {
        if (isRefused())
            return -1;
        Disk::appended(path, QByteArray(static_cast<const char*>(bytes), static_cast<qsizetype>(count)));
    }
    return own(file, bytes, count);
}

} // namespace

} // namespace simulation

// NOLINTBEGIN(readability-inconsistent-declaration-parameter-name,cert-dcl50-cpp): the library's are so
extern "C" {
#pragma GCC visibility push(default)
int open(const char* path, int flags, ...)
{
    std::va_list more;
    va_start(more, flags);
    const mode_t mode = (flags & (O_CREAT | O_TMPFILE)) != 0 ? va_arg(more, mode_t) : 0;
    va_end(more);
    return simulation::opening(path, flags, mode);
}
int open64(const char* path, int flags, ...)
{
    std::va_list more;
    va_start(more, flags);
    const mode_t mode = (flags & (O_CREAT | O_TMPFILE)) != 0 ? va_arg(more, mode_t) : 0;
    va_end(more);
    return simulation::opening(path, flags, mode);
}
int mkostemp(char* path, int flags)
{
    return simulation::Folders::has(path) ? simulation::openingNew(path, flags)
                                          : simulation::libraryOwn<int(char*, int)>("mkostemp")(path, flags);
}
int mknod(const char* path, mode_t mode, dev_t device) noexcept
{
    return simulation::making(path, [&] {
        return simulation::libraryOwn<int(const char*, mode_t, dev_t)>("mknod")(path, mode, device);
    });
}
int link(const char* from, const char* to) noexcept
{
    const int outcome = simulation::making(
        to, [&] { return simulation::libraryOwn<int(const char*, const char*)>("link")(from, to); });
    if (outcome == 0 && simulation::Folders::has(to))
        simulation::Disk::named(from, to);
    return outcome;
}
int rename(const char* from, const char* to) noexcept
{
    return simulation::moving(
        from, to, [&] { return simulation::libraryOwn<int(const char*, const char*)>("rename")(from, to); });
}
int renameat2(int fromFolder, const char* from, int toFolder, const char* to, unsigned flags) noexcept
{
    return simulation::moving(from, to, [&] {
        return simulation::libraryOwn<int(int, const char*, int, const char*, unsigned)>("renameat2")(
            fromFolder, from, toFolder, to, flags);
    });
}
int unlink(const char* path) noexcept { return simulation::removing(path); }
int fsync(int file) { return simulation::syncing(file, simulation::libraryOwn<int(int)>("fsync"), false); }
int fdatasync(int file)
{
    return simulation::syncing(file, simulation::libraryOwn<int(int)>("fdatasync"), true);
}
ssize_t write(int file, const void* bytes, size_t count) { return simulation::writing(file, bytes, count); }
#pragma GCC visibility pop
}
// NOLINTEND(readability-inconsistent-declaration-parameter-name,cert-dcl50-cpp)
