// The clock by which time spans are measured, in steps of its own: how long something took is written into
// the journal, and another length of it would be another story. Each reading is a microsecond later than the
// last, and who waits lets it go on.

#include "tests/simulation/monotonic.h"

#include <sys/syscall.h>
#include <unistd.h>

#include <ctime>

namespace {

long readings = 0; // microseconds

} // namespace

void simulation::beginSpans() { readings = 0; }

void simulation::letSpanPass(std::chrono::nanoseconds span)
{
    readings += std::chrono::duration_cast<std::chrono::microseconds>(span).count();
}

extern "C" __attribute__((visibility("default"))) int clock_gettime(clockid_t clock, timespec* time) noexcept
{
    if (clock != CLOCK_MONOTONIC)
        return static_cast<int>(syscall(SYS_clock_gettime, clock, time));
    constexpr long inASecond = 1'000'000;
    ++readings;
    time->tv_sec = 1000 + readings / inASecond;
    time->tv_nsec = readings % inASecond * 1000;
    return 0;
}
