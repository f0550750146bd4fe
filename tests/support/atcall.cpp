#include "tests/support/atcall.h"

#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <dlfcn.h>
#include <fcntl.h>
#include <mutex>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace {

struct Watched
{
    std::recursive_mutex mutex;
    const char* function = nullptr;
    std::function<int()> what;
    bool isAsked = false; // just now
};

Watched& watched()
{
    static Watched only;
    return only;
}

/// Whether the call is to fail, with errno as the reason.
bool isRefused(const char* function)
{
    Watched& now = watched();
    const std::lock_guard lock(now.mutex);
    if (!now.function || now.isAsked || std::strcmp(now.function, function) != 0)
        return false;
    now.isAsked = true;
    const int error = now.what();
    now.isAsked = false;
    if (error != 0)
        errno = error;
    return error != 0;
}

/// The library's own, behind the one of this program that goes by the same name.
template <class Function>
Function* real(const char* name)
{
    void* found = dlsym(RTLD_NEXT, name);
    if (!found)
        std::abort();
    return reinterpret_cast<Function*>(found);
}

} // namespace

// The program's own take the place of the C library's for every library of the process.
// NOLINTBEGIN(readability-inconsistent-declaration-parameter-name,cert-dcl50-cpp): the library's are so
extern "C" {
#pragma GCC visibility push(default)
int chmod(const char* path, mode_t mode) noexcept
{
    return isRefused("chmod") ? -1 : real<int(const char*, mode_t)>("chmod")(path, mode);
}
int fchmod(int file, mode_t mode) noexcept
{
    return isRefused("fchmod") ? -1 : real<int(int, mode_t)>("fchmod")(file, mode);
}
int fchmodat(int folder, const char* path, mode_t mode, int flags) noexcept
{
    return isRefused("fchmodat")
               ? -1
               : real<int(int, const char*, mode_t, int)>("fchmodat")(folder, path, mode, flags);
}
int fdatasync(int file) { return isRefused("fdatasync") ? -1 : real<int(int)>("fdatasync")(file); }
int flock(int file, int operation) noexcept
{
    return isRefused("flock") ? -1 : real<int(int, int)>("flock")(file, operation);
}
int fstat(int file, struct stat* found) noexcept
{
    return isRefused("fstat") ? -1 : real<int(int, struct stat*)>("fstat")(file, found);
}
int fsync(int file) { return isRefused("fsync") ? -1 : real<int(int)>("fsync")(file); }
int link(const char* from, const char* to) noexcept
{
    return isRefused("link") ? -1 : real<int(const char*, const char*)>("link")(from, to);
}
int lstat(const char* path, struct stat* found) noexcept
{
    return isRefused("lstat") ? -1 : real<int(const char*, struct stat*)>("lstat")(path, found);
}
int mkdir(const char* path, mode_t mode) noexcept
{
    return isRefused("mkdir") ? -1 : real<int(const char*, mode_t)>("mkdir")(path, mode);
}
int mknod(const char* path, mode_t mode, dev_t device) noexcept
{
    return isRefused("mknod") ? -1 : real<int(const char*, mode_t, dev_t)>("mknod")(path, mode, device);
}
int open(const char* path, int flags, ...)
{
    std::va_list more;
    va_start(more, flags);
    const mode_t mode = (flags & (O_CREAT | O_TMPFILE)) != 0 ? va_arg(more, mode_t) : 0;
    va_end(more);
    return isRefused("open") ? -1 : real<int(const char*, int, ...)>("open")(path, flags, mode);
}
int open64(const char* path, int flags, ...)
{
    std::va_list more;
    va_start(more, flags);
    const mode_t mode = (flags & (O_CREAT | O_TMPFILE)) != 0 ? va_arg(more, mode_t) : 0;
    va_end(more);
    return isRefused("open64") ? -1 : real<int(const char*, int, ...)>("open64")(path, flags, mode);
}
ssize_t read(int file, void* bytes, size_t count)
{
    return isRefused("read") ? -1 : real<ssize_t(int, void*, size_t)>("read")(file, bytes, count);
}
int rename(const char* from, const char* to) noexcept
{
    return isRefused("rename") ? -1 : real<int(const char*, const char*)>("rename")(from, to);
}
int renameat2(int fromFolder, const char* from, int toFolder, const char* to, unsigned flags) noexcept
{
    return isRefused("renameat2") ? -1
                                  : real<int(int, const char*, int, const char*, unsigned)>("renameat2")(
                                        fromFolder, from, toFolder, to, flags);
}
int unlink(const char* path) noexcept
{
    return isRefused("unlink") ? -1 : real<int(const char*)>("unlink")(path);
}
ssize_t write(int file, const void* bytes, size_t count)
{
    return isRefused("write") ? -1 : real<ssize_t(int, const void*, size_t)>("write")(file, bytes, count);
}
#pragma GCC visibility pop
}
// NOLINTEND(readability-inconsistent-declaration-parameter-name,cert-dcl50-cpp)

namespace test_support {

AtCall::AtCall(const char* function, std::function<int()> what)
{
    const std::lock_guard lock(watched().mutex);
    watched().function = function;
    watched().what = std::move(what);
}

AtCall::~AtCall()
{
    const std::lock_guard lock(watched().mutex);
    watched().function = nullptr;
}

std::function<int()> failing(int error)
{
    return [error] { return error; };
}

std::function<int()> failingOnce(int error, int atCall)
{
    return [error, left = atCall]() mutable { return --left == 0 ? error : 0; };
}

std::function<int()> first(std::function<void()> what)
{
    return [what = std::move(what)]() mutable {
        if (const auto once = std::exchange(what, nullptr))
            once();
        return 0;
    };
}

} // namespace test_support
