#pragma once

#include <atomic>
#include <chrono>
#include <list>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

/// A service on loopback that answers each request after some time, and keeps a book of them. A body begins
/// with the number of its receipt and its number among that receipt's messages, both from 0.
class Ledger
{
public:
    Ledger(int receipts, std::chrono::milliseconds takes);
    ~Ledger();
    Ledger(const Ledger&) = delete;
    Ledger& operator=(const Ledger&) = delete;

    [[nodiscard]] int port() const { return m_port; }
    [[nodiscard]] int answered() const { return m_answered; }
    /// Requests that came a second time, or before the one before it of the same receipt was answered.
    [[nodiscard]] int wrong() const { return m_wrong; }

private:
    void accept();
    void serve(int socket);
    void answer(int socket, const std::string& body);

    std::chrono::milliseconds m_takes;
    std::vector<std::atomic<int>> m_next; ///< of each receipt: the message that may come
    std::atomic<int> m_answered = 0;
    std::atomic<int> m_wrong = 0;
    int m_listener = -1;
    int m_port = 0;
    std::mutex m_mutex; ///< of the following two
    std::vector<int> m_sockets;
    std::list<std::jthread> m_connections;
    std::jthread m_thread; // the last: it uses all of the others
};
