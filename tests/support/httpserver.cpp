#include "tests/support/httpserver.h"

#include "tests/support/httpwire.h"

#include <openssl/ssl.h>

#include <arpa/inet.h>
#include <poll.h>
#include <pthread.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <condition_variable>
#include <csignal>
#include <deque>
#include <mutex>
#include <optional>
#include <thread>
#include <vector>

using namespace Qt::StringLiterals;

namespace test_support {

namespace {

constexpr std::chrono::seconds patience{5};

std::shared_ptr<SSL_CTX> contextFor(const Certificate& certificate)
{
    std::shared_ptr<SSL_CTX> context(SSL_CTX_new(TLS_server_method()), SSL_CTX_free);
    SSL_CTX_use_certificate(context.get(), certificate.certificate());
    SSL_CTX_use_PrivateKey(context.get(), certificate.key());
    return context;
}

HttpRequest parsedHead(const QByteArray& head)
{
    HttpRequest request;
    QList<QByteArray> lines;
    for (const QByteArray& line : head.split('\n'))
        lines.append(line.endsWith('\r') ? line.chopped(1) : line);
    const QList<QByteArray> first = lines.takeFirst().split(' ');
    request.method = first.value(0);
    request.path = first.value(1);
    request.headers = lines;
    return request;
}

bool sendBytes(HttpWire& wire, const HttpAnswer& answer, QByteArrayView bytes)
{
    if (answer.dripBytes <= 0)
        return wire.write(bytes);
    while (bytes.size() > answer.dripBytes) {
        if (!wire.write(bytes.first(answer.dripBytes)) || !wire.pause(answer.dripInterval))
            return false;
        bytes = bytes.sliced(answer.dripBytes);
    }
    return wire.write(bytes);
}

/// Whether the connection may carry another request.
bool sendAnswer(HttpWire& wire, const HttpAnswer& answer)
{
    if (answer.delay.count() > 0 && !wire.pause(answer.delay))
        return false;
    const QByteArray blanks(65536, ' ');
    qint64 left = answer.bytes.size() + answer.endless;
    if (answer.cutAfter >= 0)
        left = std::min(left, answer.cutAfter);
    const auto own = std::min<qint64>(left, answer.bytes.size());
    bool goesOn = sendBytes(wire, answer, QByteArrayView(answer.bytes).first(own));
    for (left -= own; goesOn && left > 0; left -= blanks.size())
        goesOn = sendBytes(wire, answer, QByteArrayView(blanks).first(std::min<qint64>(left, blanks.size())));
    if (answer.breakOff)
        wire.breakOff();
    return goesOn && answer.keepOpen && !answer.breakOff && answer.cutAfter < 0;
}

} // namespace

QByteArray HttpRequest::header(const QByteArray& name) const
{
    for (const QByteArray& line : headers) {
        const qsizetype colon = line.indexOf(':');
        if (line.first(std::max<qsizetype>(colon, 0)).compare(name, Qt::CaseInsensitive) == 0)
            return line.sliced(colon + 1).trimmed();
    }
    return {};
}

HttpAnswer HttpAnswer::status(int code, const QByteArray& body, const QList<QByteArray>& headers)
{
    HttpAnswer answer;
    answer.bytes = "HTTP/1.1 " + QByteArray::number(code) + " Scripted\r\n";
    for (const QByteArray& header : headers)
        answer.bytes += header + "\r\n";
    if (code != 204)
        answer.bytes += "Content-Length: " + QByteArray::number(body.size()) + "\r\n";
    answer.bytes += "\r\n" + body;
    return answer;
}

HttpAnswer HttpAnswer::raw(const QByteArray& bytes)
{
    HttpAnswer answer;
    answer.bytes = bytes;
    answer.keepOpen = false;
    return answer;
}

HttpAnswer HttpAnswer::none() { return raw({}); }

class HttpServer::Worker
{
public:
    explicit Worker(std::shared_ptr<SSL_CTX> context)
        : m_context(std::move(context))
    {
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        socklen_t size = sizeof address;
        auto* generic = reinterpret_cast<sockaddr*>(&address);
        if (m_listener < 0 || m_stop < 0 || bind(m_listener, generic, size) != 0 ||
            listen(m_listener, 64) != 0 || getsockname(m_listener, generic, &size) != 0)
            qFatal("The test's HTTP server cannot listen");
        m_port = ntohs(address.sin_port);
        m_acceptor = std::thread([this] { acceptAll(); });
    }
    Worker(const Worker&) = delete;
    Worker& operator=(const Worker&) = delete;
    ~Worker()
    {
        stop();
        close(m_stop);
    }

    void stop()
    {
        if (!m_acceptor.joinable())
            return;
        eventfd_write(m_stop, 1); // never read, so every poll on it returns from now on
        m_acceptor.join();
        for (std::thread& connection : m_threads)
            connection.join();
    }

    mutable std::mutex mutex; ///< guards the three below
    mutable std::condition_variable arrived;
    std::deque<HttpAnswer> answers;
    QList<HttpRequest> requests;
    int connections = 0;

    [[nodiscard]] quint16 port() const { return m_port; }
    [[nodiscard]] bool isTls() const { return m_context != nullptr; }

private:
    void acceptAll()
    {
        sigset_t pipe{};
        sigemptyset(&pipe);
        sigaddset(&pipe, SIGPIPE);
        pthread_sigmask(SIG_BLOCK, &pipe, nullptr); // inherited by the connections' threads
        std::array<pollfd, 2> both{pollfd{m_listener, POLLIN, 0}, pollfd{m_stop, POLLIN, 0}};
        while (poll(both.data(), both.size(), -1) >= 0 && both[1].revents == 0) {
            const int socket = accept4(m_listener, nullptr, nullptr, SOCK_CLOEXEC);
            if (socket < 0)
                continue;
            {
                const std::lock_guard lock(mutex);
                ++connections;
            }
            m_threads.emplace_back([this, socket] { serve(socket); });
        }
        close(m_listener);
    }

    void serve(int socket)
    {
        HttpWire wire(socket, m_stop, m_context.get());
        QByteArray buffer;
        bool goesOn = wire.handshake();
        while (goesOn) {
            const std::optional<HttpAnswer> answer = takeRequest(wire, buffer);
            goesOn = answer && sendAnswer(wire, *answer);
        }
    }

    /// Reads and records one request; gives its answer, or nothing when the connection ended first.
    std::optional<HttpAnswer> takeRequest(HttpWire& wire, QByteArray& buffer)
    {
        while (!buffer.contains("\r\n\r\n")) {
            if (!wire.readSome(buffer))
                return std::nullopt;
        }
        const qsizetype headSize = buffer.indexOf("\r\n\r\n");
        HttpRequest request = parsedHead(buffer.first(headSize));
        buffer.remove(0, headSize + 4);
        const HttpAnswer answer = nextAnswer();
        const qsizetype bodySize = answer.unheard ? 0 : request.header("Content-Length").toLongLong();
        while (buffer.size() < bodySize) {
            if (!wire.readSome(buffer))
                return std::nullopt;
        }
        request.body = buffer.first(bodySize);
        buffer.remove(0, bodySize);
        const std::lock_guard lock(mutex);
        requests.append(request);
        arrived.notify_all();
        return answer;
    }

    HttpAnswer nextAnswer()
    {
        const std::lock_guard lock(mutex);
        if (answers.empty())
            return HttpAnswer::status(503, "no answer was scripted");
        HttpAnswer answer = answers.front();
        answers.pop_front();
        return answer;
    }

    std::shared_ptr<SSL_CTX> m_context;
    int m_listener = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    int m_stop = eventfd(0, EFD_CLOEXEC);
    quint16 m_port = 0;
    std::thread m_acceptor;
    std::vector<std::thread> m_threads; // the acceptor's until it is joined
};

HttpServer::HttpServer()
    : m_worker(std::make_unique<Worker>(nullptr))
{}

HttpServer::HttpServer(const Certificate& certificate)
    : m_worker(std::make_unique<Worker>(contextFor(certificate)))
{}

HttpServer::~HttpServer() = default;

void HttpServer::enqueue(const HttpAnswer& answer)
{
    const std::lock_guard lock(m_worker->mutex);
    m_worker->answers.push_back(answer);
}

quint16 HttpServer::port() const { return m_worker->port(); }

QUrl HttpServer::url(const QString& path) const
{
    const QString scheme = m_worker->isTls() ? u"https"_s : u"http"_s;
    return QUrl(scheme + u"://127.0.0.1:"_s + QString::number(port()) + path);
}

QList<HttpRequest> HttpServer::requests() const
{
    const std::lock_guard lock(m_worker->mutex);
    return m_worker->requests;
}

QList<HttpRequest> HttpServer::waitForRequests(qsizetype count) const
{
    std::unique_lock lock(m_worker->mutex);
    m_worker->arrived.wait_for(lock, patience, [&] { return m_worker->requests.size() >= count; });
    return m_worker->requests;
}

int HttpServer::connections() const
{
    const std::lock_guard lock(m_worker->mutex);
    return m_worker->connections;
}

void HttpServer::stop() { m_worker->stop(); }

} // namespace test_support
