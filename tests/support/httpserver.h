#pragma once

#include "tests/support/certificate.h"

#include <QByteArray>
#include <QList>
#include <QString>
#include <QUrl>

#include <chrono>
#include <memory>

namespace test_support {

/// One request as it came over the wire.
struct HttpRequest
{
    QByteArray method;
    QByteArray path;           ///< with its query, percent-encoded as sent
    QList<QByteArray> headers; ///< whole lines, in their order, without the line ends
    QByteArray body;

    /// The value of the first header of that name, whatever its case; null when there is none.
    [[nodiscard]] QByteArray header(const QByteArray& name) const;
};

/// One scripted answer. The plain members may be combined: a delay, then the bytes, at once or in drips, then
/// the endless part, the whole of it cut where cutAfter says.
struct HttpAnswer
{
    QByteArray bytes;                          ///< head and body as they go over the wire
    std::chrono::milliseconds delay{0};        ///< before the first byte
    qsizetype dripBytes = 0;                   ///< above 0: so many bytes at a time
    std::chrono::milliseconds dripInterval{0}; ///< between two drips
    qint64 endless = 0;                        ///< so many blanks follow the bytes
    qint64 cutAfter = -1;                      ///< 0 or more: the connection ends after so many bytes
    bool breakOff = false;                     ///< it ends with a reset, not in order
    bool unheard = false;                      ///< do not read the request's body first
    bool keepOpen = true;                      ///< read another request on the same connection; else close it

    /// A whole answer with Content-Length; headers are whole lines without their ends.
    static HttpAnswer status(int code, const QByteArray& body = {}, const QList<QByteArray>& headers = {});
    /// These very bytes, then the end of the connection.
    static HttpAnswer raw(const QByteArray& bytes);
    /// The end of the connection, with no answer at all.
    static HttpAnswer none();
};

/// A scripted HTTP server on a loopback port of the system's choosing. Each connection has a thread; requests
/// are recorded and take their answers from one queue, in order of arrival. A request that finds the queue
/// empty gets a 503 that says so. The destructor stops at once, whatever is under way.
class HttpServer
{
public:
    HttpServer();
    /// Speaks TLS with that certificate.
    explicit HttpServer(const Certificate& certificate);
    HttpServer(const HttpServer&) = delete;
    HttpServer& operator=(const HttpServer&) = delete;
    ~HttpServer();

    void enqueue(const HttpAnswer& answer);

    [[nodiscard]] quint16 port() const;
    /// http or https, 127.0.0.1 and the port, followed by the path.
    [[nodiscard]] QUrl url(const QString& path = QStringLiteral("/")) const;
    [[nodiscard]] QList<HttpRequest> requests() const;
    /// Waits until so many requests are in, or a few seconds: the test then fails on what it finds.
    [[nodiscard]] QList<HttpRequest> waitForRequests(qsizetype count) const;
    [[nodiscard]] int connections() const; ///< accepted so far

    /// Closes the port and every connection; from then on connecting is refused.
    void stop();

private:
    class Worker;
    std::unique_ptr<Worker> m_worker;
};

} // namespace test_support
