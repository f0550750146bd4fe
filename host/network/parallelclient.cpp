#include "host/network/parallelclient.h"

#include "host/network/curlmulti.h"
#include "host/network/idlework.h"
#include "host/network/watchedexchange.h"

#include <QDeadlineTimer>

#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <set>
#include <utility>

using network::CurlExchange;
using network::CurlMulti;
using network::Judged;
using network::WatchedExchange;

template class MockFactory<ParallelClient>;

namespace {

/// The open sockets of a client.
class Sockets
{
public:
    void opened(curl_socket_t socket) { m_all.insert(socket); }
    int close(curl_socket_t socket)
    {
        m_all.erase(socket);
        return ::close(socket);
    }
    /// Whether the one with this port at this end has something to be read, be it the end.
    [[nodiscard]] bool isReadable(int localPort) const
    {
        return std::any_of(m_all.cbegin(), m_all.cend(), [localPort](curl_socket_t socket) {
            pollfd incoming{socket, POLLIN, 0};
            return portOf(socket) == localPort && poll(&incoming, 1, 0) > 0;
        });
    }

private:
    static int portOf(curl_socket_t socket)
    {
        sockaddr_in6 address{}; // its port lies where that of a sockaddr_in does
        socklen_t size = sizeof address;
        const bool known = getsockname(socket, reinterpret_cast<sockaddr*>(&address), &size) == 0;
        return known ? ntohs(address.sin6_port) : -1;
    }

    std::set<curl_socket_t> m_all;
};

int onSocketClosing(void* sockets, curl_socket_t socket)
{
    return static_cast<Sockets*>(sockets)->close(socket);
}

} // namespace

/// One request under way.
class ParallelClient::Exchange
{
public:
    Exchange(qint64 id, const WatchedExchange& watched, Sockets& sockets)
        : m_id(id)
        , m_watched(watched)
        , m_exchange(m_watched.request())
        , m_sockets(sockets)
    {
        if (m_exchange.unfit() != RestClient::ErrorCode::None)
            return;
        network::CurlHandle& handle = m_exchange.handle();
        handle.set(CURLOPT_SOCKOPTFUNCTION, onSocketOpened);
        handle.set(CURLOPT_SOCKOPTDATA, this);
        handle.set(CURLOPT_CLOSESOCKETFUNCTION, onSocketClosing);
        handle.set(CURLOPT_CLOSESOCKETDATA, &m_sockets); // a kept connection outlives the exchange
        handle.set(CURLOPT_PREREQFUNCTION, onConnected);
        handle.set(CURLOPT_PREREQDATA, this);
    }

    /// Null: it cannot be carried out, and has its outcome.
    [[nodiscard]] CURL* handle()
    {
        const bool isFit = m_exchange.unfit() == RestClient::ErrorCode::None;
        return isFit && m_exchange.handle().setUp() == CURLE_OK ? m_exchange.handle().get() : nullptr;
    }
    /// Whether nothing was sent because the kept connection was not fit for it; it will be on a fresh one.
    [[nodiscard]] bool goesAgain(CURLcode outcome)
    {
        if (outcome != CURLE_ABORTED_BY_CALLBACK)
            return false;
        m_exchange.handle().set(CURLOPT_FRESH_CONNECT, 1L);
        return true;
    }
    [[nodiscard]] Finished finish(CURLcode outcome)
    {
        return told(m_watched.finish(m_exchange.answer(outcome)));
    }
    [[nodiscard]] Finished finishUnsent()
    {
        if (m_exchange.unfit() == RestClient::ErrorCode::None)
            return finish(m_exchange.handle().setUp());
        return told(m_watched.finish({.failure = m_exchange.unfit()}));
    }

private:
    static int onSocketOpened(void* user, curl_socket_t socket, curlsocktype /*purpose*/)
    {
        auto& exchange = *static_cast<Exchange*>(user);
        exchange.m_sockets.opened(socket);
        exchange.m_isFresh = true;
        return CURL_SOCKOPT_OK;
    }
    static int onConnected(void* user, char* /*remoteAddress*/, char* /*localAddress*/, int /*remotePort*/,
                           int localPort)
    {
        auto& exchange = *static_cast<Exchange*>(user);
        return !exchange.m_isFresh && exchange.m_sockets.isReadable(localPort) ? CURL_PREREQFUNC_ABORT
                                                                               : CURL_PREREQFUNC_OK;
    }
    [[nodiscard]] Finished told(Judged judged) const
    {
        return {m_id, judged.code, std::move(judged.response), judged.milliseconds, judged.retryAfter};
    }

    qint64 m_id;
    WatchedExchange m_watched;
    CurlExchange m_exchange;
    Sockets& m_sockets;
    bool m_isFresh = false; // its connection was made for it
};

struct ParallelClient::Connections
{
    Sockets sockets; // outlive the connections
    std::vector<std::unique_ptr<Exchange>> underWay;
    CurlMulti multi; // lets go of the exchanges before they end
    QList<Finished> over;

    void add(std::unique_ptr<Exchange> exchange)
    {
        if (CURL* handle = exchange->handle()) {
            multi.add(handle);
            underWay.push_back(std::move(exchange));
        } else {
            over.append(exchange->finishUnsent());
        }
    }

    /// Does what can be done at once.
    void step()
    {
        for (const auto& [handle, outcome] : multi.step()) {
            const auto found =
                std::find_if(underWay.begin(), underWay.end(),
                             [handle = handle](const auto& one) { return one->handle() == handle; });
            multi.remove(handle);
            if ((*found)->goesAgain(outcome)) {
                multi.add(handle);
                continue;
            }
            const std::unique_ptr<Exchange> ended = std::move(*found);
            underWay.erase(found);
            over.append(ended->finish(outcome));
        }
    }
};

ParallelClient::ParallelClient()
    : m(std::make_unique<Connections>())
{}

ParallelClient::~ParallelClient() = default;

void ParallelClient::begin(qint64 id, network::Request request)
{
    request.keepConnection = true;
    m->add(std::make_unique<Exchange>(id, WatchedExchange(std::move(request)), m->sockets));
    m->step(); // on a kept connection it leaves now, whatever the caller does until it asks what is over
}

QList<ParallelClient::Finished> ParallelClient::finished(std::chrono::milliseconds longest)
{
    const IdleWork* idle = IdleWork::current();
    const QDeadlineTimer end(longest);
    for (;;) {
        m->step();
        if (!m->over.isEmpty() || m->underWay.empty() || end.hasExpired())
            return std::exchange(m->over, {});
        const auto left = static_cast<int>(end.remainingTime());
        m->multi.wait(idle ? std::min(left, network::CurlHandle::idleSlice) : left);
        if (idle)
            (*idle)();
    }
}

void ParallelClient::abandon()
{
    m->over.clear();
    for (const auto& exchange : m->underWay)
        m->multi.remove(exchange->handle());
    m->underWay.clear();
}

void ParallelClient::keepConnections(int most) { m->multi.keepConnections(most); }
