#include "stand/http/listener.h"

#include <QTextStream>
#include <QTimer>

#include <memory>

#include <fcntl.h>

namespace stand {

namespace {

/// Of what a client goes on sending after its connection was taken over, in bytes.
constexpr qint64 readAhead = 16'384;

} // namespace

Connection::Connection(Listener* listener)
    : QTcpSocket(listener)
    , m_listener(*listener)
{
    // The first to be told of what arrives, before QHttpServer reads it.
    connect(this, &QIODevice::readyRead, this, [this] { limit(); });
}

void Connection::limit()
{
    if (!m_size.isTooLargeWith(*this))
        return;
    if (auto* connection = takeOver())
        turnAway(connection);
    else
        abort();
}

QTcpSocket* Connection::takeOver()
{
    auto connection = std::make_unique<QTcpSocket>(&m_listener);
    const auto descriptor = fcntl(static_cast<int>(socketDescriptor()), F_DUPFD_CLOEXEC, 0);
    if (descriptor < 0 || !connection->setSocketDescriptor(descriptor))
        return nullptr;
    connection->setReadBufferSize(readAhead);
    disconnect(this, &QIODevice::readyRead, nullptr, nullptr);
    abort(); // closes this descriptor only
    connect(connection.get(), &QTcpSocket::disconnected, connection.get(), &QObject::deleteLater);
    return connection.release();
}

qint64 Connection::writeData(const char* data, qint64 size)
{
    m_size.restart();
    if (!m_listener.m_isCatching)
        return QTcpSocket::writeData(data, size);
    m_listener.m_answered = this;
    return size;
}

bool Listener::open(const QHostAddress& address, quint16 port)
{
    if (!listen(address, port))
        return false;
    m_address = serverAddress();
    m_port = serverPort();
    return true;
}

QTcpSocket* Listener::takeOverAnswered(const std::function<void()>& answer)
{
    m_answered = nullptr;
    m_isCatching = true;
    answer();
    m_isCatching = false;
    return m_answered ? m_answered->takeOver() : nullptr;
}

void Listener::closePort(std::chrono::milliseconds duration)
{
    close();
    ++m_closings;
    QTimer::singleShot(duration, Qt::PreciseTimer, this, [this] {
        if (--m_closings == 0)
            listenAgain();
    });
}

void Listener::listenAgain()
{
    if (listen(m_address, m_port))
        return;
    QTextStream(stderr) << "stand: cannot listen again on port " << m_port << ": " << errorString()
                        << Qt::endl;
    constexpr std::chrono::milliseconds pause{200};
    QTimer::singleShot(pause, this, [this] { listenAgain(); });
}

void Listener::incomingConnection(qintptr descriptor)
{
    auto* connection = new Connection(this);
    if (!connection->setSocketDescriptor(descriptor)) {
        delete connection;
        return;
    }
    addPendingConnection(connection);
}

} // namespace stand
