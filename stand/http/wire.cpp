#include "stand/http/wire.h"

#include <QCoreApplication>
#include <QPointer>
#include <QTcpSocket>
#include <QTimer>

#include <algorithm>

#include <sys/socket.h>

namespace stand {

namespace {

constexpr qint64 chunk = 65'536;

/// The bytes of a delivery, one piece after the other.
class Bytes
{
public:
    explicit Bytes(const Delivery& delivery)
        : m_delivery(delivery)
        , m_left(delivery.begin)
    {}

    /// At most `most` bytes; empty when there are no more.
    QByteArray next(qint64 most)
    {
        while (m_left.isEmpty() && m_part <= m_delivery.repeats) {
            m_left = m_part < m_delivery.repeats ? m_delivery.filler : m_delivery.end;
            ++m_part;
        }
        auto piece = m_left.first(std::min<qsizetype>(most, m_left.size()));
        m_left.remove(0, piece.size());
        return piece;
    }

private:
    const Delivery& m_delivery;
    QByteArray m_left;
    qint64 m_part = 0;
};

/// Lives as long as its connection.
class Wire : public QObject
{
public:
    Wire(QTcpSocket* socket, Delivery delivery)
        : QObject(socket)
        , m_socket(socket)
        , m_delivery(std::move(delivery))
    {
        // Precise, here and below: a coarse timer may come early.
        QTimer::singleShot(m_delivery.delay, Qt::PreciseTimer, this, [this] { begin(); });
    }

private:
    void begin()
    {
        if (m_delivery.pieceSize == 0) {
            connect(m_socket, &QTcpSocket::bytesWritten, this, [this] { pump(); });
            return pump();
        }
        m_socket->setSocketOption(QAbstractSocket::LowDelayOption, 1);
        drip();
    }

    /// No more than a few chunks wait in memory for a slow client.
    void pump()
    {
        while (!m_ended && m_socket->bytesToWrite() < chunk) {
            const auto bytes = m_bytes.next(chunk);
            if (!bytes.isEmpty()) {
                m_socket->write(bytes);
                continue;
            }
            if (m_socket->bytesToWrite() == 0)
                end();
            return;
        }
    }

    void drip()
    {
        const auto bytes = m_bytes.next(m_delivery.pieceSize);
        if (bytes.isEmpty())
            return end();
        m_socket->write(bytes);
        m_socket->flush();
        QTimer::singleShot(m_delivery.pause, Qt::PreciseTimer, this, [this] { drip(); });
    }

    void end()
    {
        m_ended = true;
        if (m_delivery.after == Delivery::End::Hang)
            return;
        if (m_delivery.after == Delivery::End::Close)
            return m_socket->disconnectFromHost();
        // Without lingering the system sends RST at once.
        const linger atOnce{.l_onoff = 1, .l_linger = 0};
        setsockopt(static_cast<int>(m_socket->socketDescriptor()), SOL_SOCKET, SO_LINGER, &atOnce,
                   sizeof atOnce);
        m_socket->abort();
    }

    QTcpSocket* m_socket;
    Delivery m_delivery;
    Bytes m_bytes{m_delivery};
    bool m_ended = false;
};

} // namespace

void deliver(QTcpSocket* connection, Delivery delivery)
{
    if (connection != nullptr)
        new Wire(connection, std::move(delivery)); // owned by the connection
}

void deliver(QTcpSocket* connection, const Postponed& postponed)
{
    // Not bound to the connection: the operation is done also when the client has gone.
    QTimer::singleShot(postponed.delay, Qt::PreciseTimer, QCoreApplication::instance(),
                       [connection = QPointer(connection), answer = postponed.answer] {
                           const auto late = answer();
                           deliver(connection, {.begin = headOf(late, late.body.size()) + late.body});
                       });
}

} // namespace stand
