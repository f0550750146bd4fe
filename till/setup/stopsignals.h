#pragma once

#include <chrono>
#include <stop_token>
#include <thread>

namespace till {

/// Turns the first SIGINT or SIGTERM into a request to stop; the next one ends the program as usual. To be
/// made before any other thread, in the main thread; one at a time.
class StopSignals
{
public:
    StopSignals();
    ~StopSignals();
    StopSignals(const StopSignals&) = delete;
    StopSignals& operator=(const StopSignals&) = delete;

    [[nodiscard]] std::stop_token token() const { return m_stop.get_token(); }
    /// True when the request came within that time.
    [[nodiscard]] bool wait(std::chrono::milliseconds time) const;

private:
    void listen();

    std::stop_source m_stop;
    int m_signals;
    int m_end; ///< readable once there is nothing more to wait for
    std::thread m_thread;
};

} // namespace till
