#pragma once

#include <QByteArray>

class QTcpSocket;

namespace stand {

/// How much a client sends for one request. QHttpServer reads a body whole, however large it is and whoever
/// sends it, before the stand is asked anything.
class RequestSize
{
public:
    /// Of a request, head and body together, in bytes: a receipt of ten thousand positions is half of it.
    static constexpr qint64 most = qint64(4) * 1024 * 1024;

    /// To be told whenever something arrived, before it is read; whether the request is too large by what it
    /// announces, or by what came of it so far.
    [[nodiscard]] bool isTooLargeWith(QTcpSocket& connection);

    /// The request is answered: what arrives from now on, or is still unread, belongs to the next one.
    void restart() { *this = {}; }

private:
    QByteArray m_head; ///< As far as it has come.
    bool m_isHeadWhole = false;
    qint64 m_received = 0;
};

/// Tells the client that its request is too large and ends the connection, which nobody else may use. What
/// it goes on sending meanwhile is thrown away unread, so that it comes to read the answer. The connection is
/// deleted when it has ended.
void turnAway(QTcpSocket* connection);

} // namespace stand
