#include "tests/support/syncs.h"

#include <atomic>
#include <sys/syscall.h>
#include <unistd.h>

namespace {

std::atomic<int> counted = 0;

} // namespace

// The program's own take the place of the C library's for every library of the process, SQLite too.
extern "C" {
// NOLINTNEXTLINE(readability-inconsistent-declaration-parameter-name): the library's are reserved names
__attribute__((visibility("default"))) int fsync(int file)
{
    ++counted;
    return static_cast<int>(syscall(SYS_fsync, file));
}
// NOLINTNEXTLINE(readability-inconsistent-declaration-parameter-name): the same
__attribute__((visibility("default"))) int fdatasync(int file)
{
    ++counted;
    return static_cast<int>(syscall(SYS_fdatasync, file));
}
}

namespace test_support {

Syncs::Syncs()
    : m_before(counted)
{}

int Syncs::count() const { return counted - m_before; }

} // namespace test_support
