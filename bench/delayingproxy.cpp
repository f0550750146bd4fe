#include "bench/delayingproxy.h"

#include <arpa/inet.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <deque>
#include <list>
#include <string>
#include <vector>

namespace {

using Clock = std::chrono::steady_clock;

sockaddr_in loopback(int port)
{
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    address.sin_port = htons(static_cast<std::uint16_t>(port));
    return address;
}

[[noreturn]] void giveUp(const char* what)
{
    std::perror(what);
    std::exit(2);
}

int listenOnLoopback()
{
    const int listener = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    const sockaddr_in address = loopback(0);
    if (bind(listener, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0 ||
        listen(listener, 128) != 0)
        giveUp("The proxy cannot listen");
    return listener;
}

int portOf(int socket)
{
    sockaddr_in address{};
    socklen_t size = sizeof address;
    getsockname(socket, reinterpret_cast<sockaddr*>(&address), &size);
    return ntohs(address.sin_port);
}

int connectedTo(int port)
{
    const int socket = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    const sockaddr_in address = loopback(port);
    if (connect(socket, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0)
        giveUp("The proxy's server cannot be reached");
    const int on = 1;
    setsockopt(socket, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
    return socket;
}

/// What goes one way, with when it arrives; no bytes are the end.
class Way
{
public:
    Way(int from, int to)
        : m_from(from)
        , m_to(to)
    {}

    [[nodiscard]] int from() const { return m_from; }
    [[nodiscard]] bool isOpen() const { return m_isOpen; } ///< at its beginning
    [[nodiscard]] bool isOver() const { return !m_isOpen && m_bytes.empty(); }
    [[nodiscard]] Clock::time_point next() const
    {
        return m_bytes.empty() ? Clock::time_point::max() : m_bytes.front().arrives;
    }
    void read(Clock::time_point arrives)
    {
        std::array<char, 16384> bytes{};
        const auto count = recv(m_from, bytes.data(), bytes.size(), 0);
        m_isOpen = count > 0;
        m_bytes.push_back({arrives, {bytes.data(), static_cast<std::size_t>(std::max<ssize_t>(count, 0))}});
    }
    void deliver(Clock::time_point now)
    {
        for (; next() <= now; m_bytes.pop_front()) {
            const std::string& bytes = m_bytes.front().bytes;
            if (bytes.empty())
                shutdown(m_to, SHUT_WR);
            else
                send(m_to, bytes.data(), bytes.size(), MSG_NOSIGNAL);
        }
    }

private:
    struct Bytes
    {
        Clock::time_point arrives;
        std::string bytes;
    };

    int m_from;
    int m_to;
    std::deque<Bytes> m_bytes;
    bool m_isOpen = true;
};

class Link
{
public:
    Link(int client, int server, Clock::time_point opens)
        : m_client(client)
        , m_server(server)
        , m_opens(opens)
    {}
    ~Link()
    {
        close(m_client);
        close(m_server);
    }
    Link(const Link&) = delete;
    Link& operator=(const Link&) = delete;

    [[nodiscard]] std::array<Way*, 2> ways() { return {&m_there, &m_back}; }
    [[nodiscard]] bool isOfTheClient() const { return m_there.isOpen(); }
    [[nodiscard]] bool isOver() const { return m_there.isOver() && m_back.isOver(); }
    [[nodiscard]] Clock::time_point arrival(Clock::duration delay) const
    {
        return std::max(Clock::now(), m_opens) + delay;
    }

private:
    int m_client;
    int m_server;
    Clock::time_point m_opens;
    Way m_there{m_client, m_server};
    Way m_back{m_server, m_client};
};

} // namespace

DelayingProxy::DelayingProxy(int serverPort, std::chrono::milliseconds roundTrip)
    : m_serverPort(serverPort)
    , m_roundTrip(roundTrip)
    , m_listener(listenOnLoopback())
    , m_port(portOf(m_listener))
    , m_thread([this](const std::stop_token& stop) { work(stop); })
{}

DelayingProxy::~DelayingProxy()
{
    m_thread.request_stop();
    m_thread.join();
    close(m_listener);
}

void DelayingProxy::work(const std::stop_token& stop)
{
    constexpr auto glance = std::chrono::milliseconds(50); // for the stop
    std::list<Link> links;
    while (!stop.stop_requested()) {
        std::vector<pollfd> sockets{{m_listener, POLLIN, 0}};
        Clock::time_point next = Clock::now() + glance;
        for (Link& link : links) {
            for (const Way* way : link.ways()) {
                sockets.push_back({way->isOpen() ? way->from() : -1, POLLIN, 0});
                next = std::min(next, way->next());
            }
        }
        const auto wait = std::max(Clock::duration::zero(), next - Clock::now());
        const timespec time{0, std::chrono::nanoseconds(wait).count()};
        ppoll(sockets.data(), sockets.size(), &time, nullptr);
        auto socket = sockets.begin() + 1;
        for (Link& link : links) {
            for (Way* way : link.ways()) {
                if ((socket++)->revents != 0)
                    way->read(link.arrival(m_roundTrip / 2));
                way->deliver(Clock::now());
            }
        }
        links.remove_if([](const Link& link) { return link.isOver(); });
        if (sockets.front().revents != 0) {
            links.emplace_back(accept4(m_listener, nullptr, nullptr, SOCK_CLOEXEC), connectedTo(m_serverPort),
                               Clock::now() + m_roundTrip);
            ++m_connections;
            const auto open = std::count_if(links.cbegin(), links.cend(),
                                            [](const Link& link) { return link.isOfTheClient(); });
            m_mostAtOnce = std::max(m_mostAtOnce.load(), static_cast<int>(open));
        }
    }
}
