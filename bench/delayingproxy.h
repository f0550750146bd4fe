#pragma once

#include <atomic>
#include <chrono>
#include <thread>

/// Stands before a server on loopback and makes it as far away as a round trip says: what goes either way
/// takes half of one, and a new connection takes a whole one until it carries anything.
class DelayingProxy
{
public:
    DelayingProxy(int serverPort, std::chrono::milliseconds roundTrip);
    ~DelayingProxy();
    DelayingProxy(const DelayingProxy&) = delete;
    DelayingProxy& operator=(const DelayingProxy&) = delete;

    [[nodiscard]] int port() const { return m_port; }
    [[nodiscard]] int connections() const { return m_connections; } ///< so far
    [[nodiscard]] int mostAtOnce() const { return m_mostAtOnce; }   ///< connections of them

private:
    void work(const std::stop_token& stop);

    int m_serverPort;
    std::chrono::milliseconds m_roundTrip;
    int m_listener;
    int m_port;
    std::atomic<int> m_connections = 0;
    std::atomic<int> m_mostAtOnce = 0;
    std::jthread m_thread; // the last: it uses all of the others
};
