#include "bench/ledger.h"

#include <arpa/inet.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <string_view>

namespace {

constexpr std::string_view wholeAnswer =
    "HTTP/1.1 200 OK\r\nContent-Type: application/json\r\nContent-Length: 2\r\n\r\n{}";

/// Of the whole request at the beginning of these bytes; 0: it is not whole yet.
std::size_t requestSize(const std::string& bytes, std::size_t& bodyBegins)
{
    constexpr std::string_view name = "Content-Length: ";
    const auto headEnd = bytes.find("\r\n\r\n");
    const auto length = bytes.find(name);
    if (headEnd == std::string::npos || length > headEnd)
        return 0;
    bodyBegins = headEnd + 4;
    const std::size_t size = bodyBegins + std::strtoul(bytes.c_str() + length + name.size(), nullptr, 10);
    return bytes.size() >= size ? size : 0;
}

} // namespace

Ledger::Ledger(int receipts, std::chrono::milliseconds takes)
    : m_takes(takes)
    , m_next(static_cast<std::size_t>(receipts))
    , m_listener(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0))
{
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof address;
    auto* generic = reinterpret_cast<sockaddr*>(&address);
    if (bind(m_listener, generic, size) != 0 || listen(m_listener, 128) != 0 ||
        getsockname(m_listener, generic, &size) != 0) {
        std::perror("The ledger cannot listen");
        std::exit(2);
    }
    m_port = ntohs(address.sin_port);
    m_thread = std::jthread([this] { accept(); });
}

Ledger::~Ledger()
{
    shutdown(m_listener, SHUT_RDWR);
    m_thread.join();
    for (const int socket : m_sockets)
        shutdown(socket, SHUT_RDWR);
    m_connections.clear();
    for (const int socket : m_sockets)
        close(socket);
    close(m_listener);
}

void Ledger::accept()
{
    for (;;) {
        const int socket = accept4(m_listener, nullptr, nullptr, SOCK_CLOEXEC);
        if (socket < 0)
            return;
        const std::lock_guard lock(m_mutex);
        m_sockets.push_back(socket);
        m_connections.emplace_back([this, socket] { serve(socket); });
    }
}

void Ledger::serve(int socket)
{
    std::string received;
    std::array<char, 8192> bytes{};
    for (;;) {
        std::size_t bodyBegins = 0;
        const std::size_t size = requestSize(received, bodyBegins);
        if (size > 0) {
            answer(socket, received.substr(bodyBegins, size - bodyBegins));
            received.erase(0, size);
            continue;
        }
        const auto count = recv(socket, bytes.data(), bytes.size(), 0);
        if (count <= 0)
            return;
        received.append(bytes.data(), static_cast<std::size_t>(count));
    }
}

void Ledger::answer(int socket, const std::string& body)
{
    char* end = nullptr;
    std::atomic<int>& next = m_next.at(std::strtoul(body.c_str(), &end, 10));
    const auto number = static_cast<int>(std::strtol(end, nullptr, 10));
    if (next != number)
        ++m_wrong;
    std::this_thread::sleep_for(m_takes);
    next = number + 1;
    ++m_answered;
    send(socket, wholeAnswer.data(), wholeAnswer.size(), MSG_NOSIGNAL);
}
