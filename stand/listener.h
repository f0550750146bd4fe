#pragma once

#include <QPointer>
#include <QTcpServer>
#include <QTcpSocket>

#include <chrono>

namespace stand {

/// A TCP server that knows on which connection a request comes, and can stop listening for a while.
class Listener : public QTcpServer
{
public:
    /// The connection whose bytes arrived last: while a request is answered, the one it came on.
    [[nodiscard]] QTcpSocket* asking() const { return m_asking; }

    /// The connection from this address and port, or null.
    [[nodiscard]] QTcpSocket* from(const QHostAddress& address, quint16 port) const;

    /// Nobody listens for so long, counted from the last call: connections are refused by the system.
    void refuse(std::chrono::milliseconds duration);
    [[nodiscard]] bool isRefusing() const { return !isListening(); }

    // Kept while nobody listens.
    [[nodiscard]] QHostAddress address() const { return m_address; }
    [[nodiscard]] quint16 port() const { return m_port; }
    bool open(const QHostAddress& address, quint16 port);

protected:
    void incomingConnection(qintptr descriptor) override;

private:
    void listenAgain();

    QPointer<QTcpSocket> m_asking;
    QHostAddress m_address;
    quint16 m_port = 0;
    int m_refusals = 0;
};

} // namespace stand
