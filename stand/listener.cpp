#include "stand/listener.h"

#include "stand/later.h"

#include <QTextStream>

namespace stand {

bool Listener::open(const QHostAddress& address, quint16 port)
{
    if (!listen(address, port))
        return false;
    m_address = serverAddress();
    m_port = serverPort();
    return true;
}

QTcpSocket* Listener::from(const QHostAddress& address, quint16 port) const
{
    for (auto* socket : findChildren<QTcpSocket*>()) {
        if (socket->peerPort() == port && socket->peerAddress() == address)
            return socket;
    }
    return nullptr;
}

void Listener::refuse(std::chrono::milliseconds duration)
{
    close();
    ++m_refusals;
    later(duration, this, [this] {
        if (--m_refusals == 0)
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
    later(pause, this, [this] { listenAgain(); });
}

void Listener::incomingConnection(qintptr descriptor)
{
    auto* socket = new QTcpSocket(this);
    if (!socket->setSocketDescriptor(descriptor)) {
        delete socket;
        return;
    }
    // First to be told of what arrives, before who reads it.
    connect(socket, &QIODevice::readyRead, this, [this, socket] { m_asking = socket; });
    addPendingConnection(socket);
}

} // namespace stand
