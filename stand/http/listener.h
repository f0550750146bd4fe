#pragma once

#include "stand/http/bodylimit.h"

#include <QPointer>
#include <QTcpServer>
#include <QTcpSocket>

#include <chrono>
#include <functional>

namespace stand {

class Listener;

/// A client's connection as QHttpServer has it: the stand may catch what is written to it, and take it over.
class Connection : public QTcpSocket
{
public:
    explicit Connection(Listener* listener); ///< Owned by it until somebody else takes it.

    /// The same connection, which from now on nobody but the caller reads or writes; here it looks as if the
    /// client had gone. What is returned lives until it is disconnected. Null when the client has gone
    /// indeed.
    QTcpSocket* takeOver();

protected:
    qint64 writeData(const char* data, qint64 size) override;

private:
    void limit();

    Listener& m_listener;
    RequestSize m_size;
};

/// A TCP server below QHttpServer: lets the stand send what QHttpServer never would, and can stop listening
/// for a while. Of QHttpServer it needs only that it takes its connections from here and answers while it is
/// asked to.
class Listener : public QTcpServer
{
public:
    /// Lets QHttpServer write an answer, of which nothing is sent, and takes over the connection that it was
    /// meant for, as Connection::takeOver() does.
    QTcpSocket* takeOverAnswered(const std::function<void()>& answer);

    /// Nobody listens for so long, counted from the last call: connections are refused by the system.
    void closePort(std::chrono::milliseconds duration);
    [[nodiscard]] bool isClosed() const { return !isListening(); }

    // Kept while nobody listens.
    [[nodiscard]] QHostAddress address() const { return m_address; }
    [[nodiscard]] quint16 port() const { return m_port; }
    bool open(const QHostAddress& address, quint16 port);

protected:
    void incomingConnection(qintptr descriptor) override;

private:
    friend class Connection;

    void listenAgain();

    bool m_isCatching = false;
    QPointer<Connection> m_answered; ///< Which was written to while catching.
    QHostAddress m_address;
    quint16 m_port = 0;
    int m_closings = 0;
};

} // namespace stand
