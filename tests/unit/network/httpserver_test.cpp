#include "tests/unit/network/scene.h"

#include <QSslConfiguration>
#include <QSslSocket>
#include <QTcpSocket>

#include <gmock/gmock.h>

using test_support::Certificate;
using test_support::HttpAnswer;
using test_support::HttpRequest;
using test_support::HttpServer;
using testing::ElementsAre;
using testing::Ge;
using testing::Lt;
using testing::SizeIs;
using namespace std::chrono_literals;

namespace {

constexpr int patience = 5000;

void connectTo(QTcpSocket& socket, const HttpServer& server)
{
    socket.connectToHost(QStringLiteral("127.0.0.1"), server.port());
    ASSERT_TRUE(socket.waitForConnected(patience));
}

/// Everything the server sends until it closes.
QByteArray readToEnd(QTcpSocket& socket)
{
    while (socket.state() == QAbstractSocket::ConnectedState && socket.waitForReadyRead(patience)) {
    }
    return socket.readAll();
}

QByteArray exchange(const HttpServer& server, const QByteArray& request)
{
    QTcpSocket socket;
    connectTo(socket, server);
    socket.write(request);
    return readToEnd(socket);
}

} // namespace

TEST(HttpServer, RecordsARequestAsItWasSent)
{
    HttpServer server;
    server.enqueue(HttpAnswer::none());
    exchange(server, "PUT /a%20b?c=1 HTTP/1.1\r\nX-Odd:  two  \r\ncontent-length: 5\r\n\r\n\r\n\xd1\x8f!");
    ASSERT_THAT(server.requests(), SizeIs(1));
    const HttpRequest request = server.requests().constFirst();
    EXPECT_EQ(request.method, "PUT");
    EXPECT_EQ(request.path, "/a%20b?c=1");
    EXPECT_THAT(request.headers, ElementsAre("X-Odd:  two  ", "content-length: 5"));
    EXPECT_EQ(request.header("x-odd"), "two");
    EXPECT_TRUE(request.header("absent").isNull());
    EXPECT_EQ(request.body, "\r\n\xd1\x8f!");
}

TEST(HttpServer, GivesTheAnswersInTheirOrderOnOneConnection)
{
    HttpServer server;
    server.enqueue(HttpAnswer::status(200, "first"));
    server.enqueue(HttpAnswer::raw("second"));
    const QByteArray both = exchange(server, "GET / HTTP/1.1\r\n\r\nGET / HTTP/1.1\r\n\r\n");
    EXPECT_EQ(both, "HTTP/1.1 200 Scripted\r\nContent-Length: 5\r\n\r\nfirstsecond");
    EXPECT_EQ(server.connections(), 1);
}

TEST(HttpServer, SaysWhenNoAnswerWasScripted)
{
    const HttpServer server;
    QTcpSocket socket;
    connectTo(socket, server);
    socket.write("GET / HTTP/1.1\r\n\r\n");
    ASSERT_TRUE(socket.waitForReadyRead(patience));
    EXPECT_TRUE(socket.readAll().startsWith("HTTP/1.1 503"));
}

TEST(HttpServer, CutsAnAnswerAfterTheGivenBytes)
{
    HttpServer server;
    HttpAnswer answer = HttpAnswer::raw("0123456789");
    answer.cutAfter = 4;
    server.enqueue(answer);
    EXPECT_EQ(exchange(server, "GET / HTTP/1.1\r\n\r\n"), "0123");
}

TEST(HttpServer, ClosesWithoutAnAnswer)
{
    HttpServer server;
    server.enqueue(HttpAnswer::none());
    EXPECT_EQ(exchange(server, "GET / HTTP/1.1\r\n\r\n"), "");
}

TEST(HttpServer, BreaksAConnectionOff)
{
    HttpServer server;
    HttpAnswer answer = HttpAnswer::raw({});
    answer.breakOff = true;
    server.enqueue(answer);
    QTcpSocket socket;
    connectTo(socket, server);
    socket.write("GET / HTTP/1.1\r\n\r\n");
    readToEnd(socket);
    EXPECT_EQ(socket.error(), QAbstractSocket::RemoteHostClosedError);
}

TEST(HttpServer, SendsAnEndlessBody)
{
    HttpServer server;
    HttpAnswer answer = HttpAnswer::raw("head");
    answer.endless = 1'000'000;
    server.enqueue(answer);
    EXPECT_EQ(exchange(server, "GET / HTTP/1.1\r\n\r\n"), "head" + QByteArray(1'000'000, ' '));
}

TEST(HttpServer, TakesItsTimeWhereToldTo)
{
    HttpServer server;
    HttpAnswer answer = HttpAnswer::raw("abc");
    answer.delay = 60ms;
    answer.dripBytes = 1;
    answer.dripInterval = 30ms;
    server.enqueue(answer);
    QElapsedTimer clock;
    clock.start();
    EXPECT_EQ(exchange(server, "GET / HTTP/1.1\r\n\r\n"), "abc");
    EXPECT_THAT(clock.elapsed(), Ge(119));
}

TEST(HttpServer, StopsAtOnceInTheMiddleOfAnAnswer)
{
    QElapsedTimer clock;
    QTcpSocket socket;
    {
        HttpServer server;
        HttpAnswer answer = HttpAnswer::status(200);
        answer.delay = 1h;
        server.enqueue(answer);
        connectTo(socket, server);
        socket.write("GET / HTTP/1.1\r\n\r\n");
        socket.flush();
        ASSERT_THAT(server.waitForRequests(1), SizeIs(1));
        clock.start();
    }
    EXPECT_THAT(clock.elapsed(), Lt(1000));
}

TEST(HttpServer, RefusesConnectionsOnceStopped)
{
    HttpServer server;
    const quint16 port = server.port();
    server.stop();
    QTcpSocket socket;
    socket.connectToHost(QStringLiteral("127.0.0.1"), port);
    EXPECT_FALSE(socket.waitForConnected(patience));
    EXPECT_EQ(socket.error(), QAbstractSocket::ConnectionRefusedError);
}

TEST(HttpServer, SpeaksTlsWithItsCertificate)
{
    const Certificate certificate;
    HttpServer server(certificate);
    server.enqueue(HttpAnswer::raw("secret"));
    QSslSocket socket;
    QSslConfiguration trust = QSslConfiguration::defaultConfiguration();
    trust.setCaCertificates(QSslCertificate::fromData(certificate.pem()));
    socket.setSslConfiguration(trust);
    socket.connectToHostEncrypted(QStringLiteral("127.0.0.1"), server.port(), QStringLiteral("localhost"));
    ASSERT_TRUE(socket.waitForEncrypted(patience)) << socket.errorString().toStdString();
    socket.write("GET / HTTP/1.1\r\n\r\n");
    EXPECT_EQ(readToEnd(socket), "secret");
}
