#include "stand/http/bodylimit.h"

#include "stand/http/answers.h"
#include "stand/http/delivery.h"

#include <QTcpSocket>

#include <sys/socket.h>

using namespace Qt::StringLiterals;

namespace stand {

namespace {

/// What a head says of its body's length; 0 when it says nothing.
qint64 announced(const QByteArray& head)
{
    static const auto name = "content-length:"_ba;
    for (const auto& line : head.split('\n')) {
        if (line.first(qMin(line.size(), name.size())).toLower() == name)
            return line.sliced(name.size()).trimmed().toLongLong();
    }
    return 0;
}

} // namespace

bool RequestSize::isTooLargeWith(QTcpSocket& connection)
{
    const auto arrived = connection.bytesAvailable();
    m_received += arrived;
    if (m_received > most)
        return true;
    if (m_isHeadWhole)
        return false;
    const auto searched = qMax(m_head.size() - 3, qsizetype(0));
    m_head += connection.peek(arrived);
    const auto end = m_head.indexOf("\r\n\r\n", searched);
    m_isHeadWhole = end >= 0;
    return m_isHeadWhole && announced(m_head.first(end)) > most;
}

void turnAway(QTcpSocket* connection)
{
    QObject::connect(connection, &QIODevice::readyRead, connection,
                     [connection] { connection->skip(connection->bytesAvailable()); });
    const auto answer = failure(413, u"Запрос слишком велик"_s);
    connection->write(headOf(answer, answer.body.size()) + answer.body);
    connection->flush();
    // To close it now, with bytes unread, would be a reset, and the client might lose the answer.
    shutdown(static_cast<int>(connection->socketDescriptor()), SHUT_WR);
}

} // namespace stand
