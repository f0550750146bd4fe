// Bytes on a connection to the stand: it answers in HTTP, or ends the connection.
#include "stand/http/answers.h"
#include "stand/http/server.h"
#include "tests/fuzz/fuzz.h"

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QJsonObject>
#include <QTcpSocket>

#include <memory>

namespace {

std::unique_ptr<stand::Server>& server()
{
    static std::unique_ptr<stand::Server> server;
    return server;
}

} // namespace

void fuzz::prepare()
{
    server() = std::make_unique<stand::Server>(
        QHostAddress(QHostAddress::LocalHost), 0, [](const stand::Request& request) {
            return stand::Reaction{stand::page(QJsonObject{{QStringLiteral("size"), request.body.size()}})};
        });
}

void fuzz::decode(const QByteArray& bytes)
{
    constexpr int patience = 5000;
    QTcpSocket client;
    const QUrl url = server()->url();
    client.connectToHost(QHostAddress(QHostAddress::LocalHost), static_cast<quint16>(url.port()));
    require(client.waitForConnected(patience), "somebody listens");
    client.write(bytes);
    client.disconnectFromHost(); // once all is sent
    QByteArray answer;
    const QDeadlineTimer deadline(patience);
    while (client.state() != QAbstractSocket::UnconnectedState && !deadline.hasExpired()) {
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents, 5);
        answer += client.readAll();
    }
    require(!deadline.hasExpired(), "a connection ends when its client goes");
    require(answer.isEmpty() || answer.startsWith("HTTP/1.1 "), "an answer is one of HTTP");
}
