#include "tests/support/httpwire.h"

#include <openssl/err.h>
#include <openssl/ssl.h>

#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <climits>

namespace test_support {

namespace {

constexpr int forever = -1;
constexpr qsizetype chunk = 65536;

} // namespace

void HttpWire::FreeSsl::operator()(SSL* ssl) const { SSL_free(ssl); }

HttpWire::HttpWire(int socket, int stop, SSL_CTX* context)
    : m_socket(socket)
    , m_stop(stop)
    , m_ssl(context ? SSL_new(context) : nullptr)
{
    fcntl(m_socket, F_SETFL, O_NONBLOCK);
    if (m_ssl)
        SSL_set_fd(m_ssl.get(), m_socket);
}

HttpWire::~HttpWire()
{
    if (m_ssl && m_orderly && SSL_is_init_finished(m_ssl.get()))
        SSL_shutdown(m_ssl.get());
    m_ssl.reset();
    close(m_socket);
}

bool HttpWire::wait(short events, int milliseconds)
{
    std::array<pollfd, 2> both{pollfd{m_socket, events, 0}, pollfd{m_stop, POLLIN, 0}};
    while (poll(both.data(), both.size(), milliseconds) < 0) {
        if (errno != EINTR)
            return false;
    }
    return both[1].revents == 0;
}

bool HttpWire::waitFor(int sslResult)
{
    switch (SSL_get_error(m_ssl.get(), sslResult)) {
    case SSL_ERROR_WANT_READ:
        return wait(POLLIN, forever);
    case SSL_ERROR_WANT_WRITE:
        return wait(POLLOUT, forever);
    default:
        ERR_clear_error();
        m_orderly = false; // after a fatal error even the farewell is forbidden
        return false;
    }
}

bool HttpWire::handshake()
{
    while (m_ssl) {
        const int result = SSL_accept(m_ssl.get());
        if (result == 1)
            break;
        if (!waitFor(result))
            return false;
    }
    return true;
}

bool HttpWire::readSome(QByteArray& into)
{
    std::array<char, chunk> bytes{};
    for (;;) {
        ssize_t count = 0;
        if (m_ssl) {
            count = SSL_read(m_ssl.get(), bytes.data(), static_cast<int>(bytes.size()));
            if (count <= 0 && waitFor(static_cast<int>(count)))
                continue;
        } else {
            count = recv(m_socket, bytes.data(), bytes.size(), 0);
            if (count < 0 && errno == EAGAIN && wait(POLLIN, forever))
                continue;
        }
        if (count > 0)
            into.append(bytes.data(), count);
        return count > 0;
    }
}

bool HttpWire::write(QByteArrayView bytes)
{
    while (!bytes.isEmpty()) {
        ssize_t count = 0;
        if (m_ssl) {
            // The server's threads have SIGPIPE blocked, for OpenSSL writes without MSG_NOSIGNAL.
            count = SSL_write(m_ssl.get(), bytes.data(), static_cast<int>(std::min(bytes.size(), chunk)));
            if (count <= 0 && waitFor(static_cast<int>(count)))
                continue;
        } else {
            count = send(m_socket, bytes.data(), static_cast<std::size_t>(bytes.size()), MSG_NOSIGNAL);
            if (count < 0 && errno == EAGAIN && wait(POLLOUT, forever))
                continue;
        }
        if (count <= 0)
            return false;
        bytes = bytes.sliced(count);
    }
    return true;
}

bool HttpWire::pause(std::chrono::milliseconds time)
{
    std::array<pollfd, 2> both{pollfd{m_socket, POLLRDHUP, 0}, pollfd{m_stop, POLLIN, 0}};
    return poll(both.data(), both.size(), static_cast<int>(time.count())) == 0;
}

void HttpWire::breakOff()
{
    const linger atOnce{1, 0};
    setsockopt(m_socket, SOL_SOCKET, SO_LINGER, &atOnce, sizeof atOnce);
    m_orderly = false;
}

} // namespace test_support
