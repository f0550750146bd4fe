#pragma once

#include <array>
#include <chrono>

namespace till {

/// Notes the first SIGINT or SIGTERM, for whoever asks; the next one ends the program as usual. One at a
/// time.
class StopSignals
{
public:
    StopSignals();
    ~StopSignals();
    StopSignals(const StopSignals&) = delete;
    StopSignals& operator=(const StopSignals&) = delete;

    /// True when one came, at once or within that time. False before its end when `other` is readable.
    [[nodiscard]] bool wait(std::chrono::milliseconds time, int other = -1) const;
    /// Readable once one came, for an event loop that is to be told. To be left unread.
    [[nodiscard]] int descriptor() const { return m_pipe[0]; }

private:
    std::array<int, 2> m_pipe{-1, -1};
};

/// Notes each SIGHUP, for whoever asks, instead of ending the program. One at a time.
class ReloadSignals
{
public:
    ReloadSignals();
    ~ReloadSignals();
    ReloadSignals(const ReloadSignals&) = delete;
    ReloadSignals& operator=(const ReloadSignals&) = delete;

    /// Whether one came, or several, since it was asked last.
    [[nodiscard]] bool take() const;
    /// Readable until take() is called.
    [[nodiscard]] int descriptor() const { return m_pipe[0]; }

private:
    std::array<int, 2> m_pipe{-1, -1};
};

} // namespace till
