#pragma once

#include <functional>

namespace test_support {

/// While it lives, `what` is asked just before each call of that function of the C library by this process,
/// whichever library calls it: the call fails with the error that it gives, or is done when it gives 0. What
/// `what` calls itself is done. One lives at a time. The functions are those of the source; Qt and SQLite
/// open a file with open64().
class AtCall
{
public:
    AtCall(const char* function, std::function<int()> what);
    ~AtCall();
    AtCall(const AtCall&) = delete;
    AtCall& operator=(const AtCall&) = delete;
};

/// An answer for AtCall: that error at each call, or at the how many-th alone.
std::function<int()> failing(int error);
std::function<int()> failingOnce(int error, int atCall = 1);
/// Does it before the first call, which is then done.
std::function<int()> first(std::function<void()> what);

} // namespace test_support
