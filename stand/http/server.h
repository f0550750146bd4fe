#pragma once

#include "stand/http/delivery.h"

#include <QHostAddress>
#include <QUrl>

#include <functional>
#include <memory>

class QHttpServer;

namespace stand {

class Listener;

/// Receives HTTP requests and hands each to one function. The only part that knows QHttpServer.
class Server
{
public:
    using Handler = std::function<Reaction(const Request&)>;

    /// Listens from now on; `port` 0 takes any free one. Throws std::runtime_error when it cannot.
    Server(const QHostAddress& address, quint16 port, Handler handler);
    ~Server();
    Q_DISABLE_COPY_MOVE(Server)

    [[nodiscard]] QUrl url() const; ///< With the port it really has.

    /// Nobody listens for so long; requests on connections that are open already are reset.
    void closePort(std::chrono::milliseconds duration);

private:
    std::unique_ptr<QHttpServer> m_http;
    Listener* m_listener = nullptr; ///< Owned by m_http.
};

} // namespace stand
