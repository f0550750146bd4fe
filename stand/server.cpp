#include "stand/server.h"

#include <QHttpServer>
#include <QHttpServerResponse>
#include <QMetaEnum>
#include <QTcpServer>

#include <array>
#include <stdexcept>

using namespace Qt::StringLiterals;

namespace stand {

namespace {

QUrl urlOf(const QHostAddress& address, quint16 port)
{
    QUrl url;
    url.setScheme(u"http"_s);
    url.setHost(address.toString());
    url.setPort(port);
    url.setPath(u"/"_s);
    return url;
}

Request requestOf(const QHttpServerRequest& from)
{
    // Asked for by name, because the list of all headers changed its type in Qt 6.8.
    static constexpr std::array heard = {"accept", "authorization", "content-length", "content-type",
                                         "user-agent"};
    const auto url = from.url();
    Request request;
    request.method = QByteArray(QMetaEnum::fromType<QHttpServerRequest::Method>().valueToKey(
                                    static_cast<int>(from.method())))
                         .toUpper();
    request.path = url.path(QUrl::FullyEncoded).toUtf8();
    request.query = url.query(QUrl::FullyEncoded).toUtf8();
    for (const auto* name : heard) {
        if (const auto value = from.value(name); !value.isEmpty())
            request.headers.insert(name, value);
    }
    request.body = from.body();
    return request;
}

QHttpServerResponse responseOf(const Answer& answer, const QHttpServerRequest& request)
{
    // An answer to HEAD has no body: the next answer on the connection would be read from its middle.
    const auto body = request.method() == QHttpServerRequest::Method::Head ? QByteArray() : answer.body;
    QHttpServerResponse response(answer.contentType, body,
                                 static_cast<QHttpServerResponse::StatusCode>(answer.status));
#if QT_VERSION >= QT_VERSION_CHECK(6, 8, 0)
    auto headers = response.headers();
    for (const auto& [name, value] : answer.headers)
        headers.append(name, value);
    response.setHeaders(std::move(headers));
#else
    response.addHeaders(answer.headers);
#endif
    return response;
}

void send(QHttpServerResponder& responder, const QHttpServerResponse& response)
{
#if QT_VERSION >= QT_VERSION_CHECK(6, 5, 0)
    responder.sendResponse(response);
#else
    response.write(std::move(responder));
#endif
}

/// The stand routes by itself, so every request is one that QHttpServer has no route for.
void answerEveryRequest(QHttpServer& http, Server::Handler handler)
{
    const auto answer = [handler = std::move(handler)](const QHttpServerRequest& request, auto&& responder) {
        send(responder, responseOf(handler(requestOf(request)), request));
    };
#if QT_VERSION >= QT_VERSION_CHECK(6, 8, 0)
    http.setMissingHandler(&http, [answer](const QHttpServerRequest& request,
                                           QHttpServerResponder& responder) { answer(request, responder); });
#else
    http.setMissingHandler(answer);
#endif
}

} // namespace

Server::Server(const QHostAddress& address, quint16 port, Handler handler)
    : m_http(std::make_unique<QHttpServer>())
{
    answerEveryRequest(*m_http, std::move(handler));
    auto socket = std::make_unique<QTcpServer>();
    if (!socket->listen(address, port)) {
        throw std::runtime_error(
            u"Cannot listen on %1: %2"_s.arg(urlOf(address, port).toString(), socket->errorString())
                .toStdString());
    }
    m_socket = socket.release();
    m_http->bind(m_socket);
}

Server::~Server() = default;

QUrl Server::url() const { return urlOf(m_socket->serverAddress(), m_socket->serverPort()); }

} // namespace stand
