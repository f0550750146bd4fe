#include "stand/http/server.h"

#include "stand/http/listener.h"
#include "stand/http/wire.h"

#include <QHttpServer>
#include <QHttpServerResponse>
#include <QMetaEnum>

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
                                         "host",   "origin",        "sec-fetch-site", "user-agent"};
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

/// QHttpServer believes that it answered; what it cannot send goes past it.
void react(Listener& listener, const Reaction& reaction, const QHttpServerRequest& request,
           QHttpServerResponder& responder)
{
    if (const auto* answer = std::get_if<Answer>(&reaction.what)) {
        send(responder, responseOf(*answer, request));
    } else {
        auto* connection = listener.takeOverAnswered(
            [&] { send(responder, QHttpServerResponse(QHttpServerResponse::StatusCode::NoContent)); });
        if (const auto* delivery = std::get_if<Delivery>(&reaction.what))
            deliver(connection, *delivery);
        else
            deliver(connection, std::get<Postponed>(reaction.what));
    }
    if (reaction.portClosedFor.count() > 0)
        listener.closePort(reaction.portClosedFor);
}

/// The stand routes by itself, so every request is one that QHttpServer has no route for.
void answerEveryRequest(QHttpServer& http, Listener& listener, Server::Handler handler)
{
    const auto answer = [&listener, handler = std::move(handler)](const QHttpServerRequest& request,
                                                                  auto&& responder) {
        const auto reaction = listener.isClosed() ? Reaction{.what = Delivery{.after = Delivery::End::Reset}}
                                                  : handler(requestOf(request));
        react(listener, reaction, request, responder);
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
    auto listener = std::make_unique<Listener>();
    if (!listener->open(address, port)) {
        throw std::runtime_error(
            u"Cannot listen on %1: %2"_s.arg(urlOf(address, port).toString(), listener->errorString())
                .toStdString());
    }
    answerEveryRequest(*m_http, *listener, std::move(handler));
    m_listener = listener.release();
    m_http->bind(m_listener);
}

Server::~Server() = default;

QUrl Server::url() const { return urlOf(m_listener->address(), m_listener->port()); }

void Server::closePort(std::chrono::milliseconds duration) { m_listener->closePort(duration); }

} // namespace stand
