// Requests that are too large are turned away before they are read, whoever sends them.

#include "tests/stand/standfixture.h"

#include <QFile>
#include <QUrl>

#include <array>

#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace {

constexpr qint64 mebibyte = 1024 * 1024;
constexpr qint64 most = 4 * mebibyte;

/// The most memory that the process has had so far, in bytes.
qint64 greatestMemoryOf(qint64 process)
{
    QFile file(u"/proc/%1/status"_s.arg(process));
    EXPECT_TRUE(file.open(QIODevice::ReadOnly));
    const auto lines = file.readAll().split('\n');
    for (const auto& line : lines) {
        if (line.startsWith("VmHWM:"))
            return line.sliced(6).trimmed().split(' ').constFirst().toLongLong() * 1024;
    }
    ADD_FAILURE() << "the system does not tell";
    return 0;
}

/// A client that goes on sending although it was answered: no library's would.
class StandBodyLimit : public ::testing::Test
{
protected:
    StandBodyLimit()
        : m_url(m_stand.url())
        , m_client(socket(AF_INET, SOCK_STREAM, 0))
    {
        const timeval patience{.tv_sec = 20, .tv_usec = 0};
        setsockopt(m_client, SOL_SOCKET, SO_SNDTIMEO, &patience, sizeof patience);
        setsockopt(m_client, SOL_SOCKET, SO_RCVTIMEO, &patience, sizeof patience);
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        address.sin_port = htons(static_cast<quint16>(QUrl(QString::fromLatin1(m_url)).port()));
        EXPECT_EQ(connect(m_client, reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
    }
    ~StandBodyLimit() override { close(m_client); }
    Q_DISABLE_COPY_MOVE(StandBodyLimit)

    void sendAll(const QByteArray& bytes) const
    {
        for (qsizetype sent = 0; sent < bytes.size();) {
            const auto taken = send(m_client, bytes.constData() + sent,
                                    static_cast<size_t>(bytes.size() - sent), MSG_NOSIGNAL);
            ASSERT_GT(taken, 0);
            sent += taken;
        }
    }
    void sendMany(const QByteArray& piece, qint64 bytes) const
    {
        for (qint64 sent = 0; sent < bytes && !HasFatalFailure(); sent += piece.size())
            sendAll(piece);
    }
    void sendHead(const QByteArray& length) const
    {
        sendAll("POST /stand/faults HTTP/1.1\r\nHost: localhost\r\n" + length + "\r\n\r\n");
    }
    /// Until the stand has read what was sent to it before.
    void waitForTheStand() const { EXPECT_EQ(standtest::send({.url = m_url + "/stand/cards"}).status, 200); }

    /// The status line of the next answer; its body is one line of JSON.
    QByteArray nextStatus()
    {
        while (!m_received.contains("\r\n\r\n{") || !m_received.contains("]}")) {
            if (!receive())
                return "no whole answer: " + m_received;
        }
        const auto line = m_received.first(m_received.indexOf("\r\n"));
        m_received.remove(0, m_received.indexOf("]}") + 2);
        return line;
    }
    void expectTurnedAway()
    {
        EXPECT_EQ(nextStatus(), "HTTP/1.1 413 Content Too Large");
        EXPECT_FALSE(receive()) << "the connection is closed";
        waitForTheStand();
    }

    standtest::StandProcess m_stand;
    const QByteArray m_url;
    const int m_client;

private:
    bool receive()
    {
        std::array<char, 4096> bytes{};
        const auto count = recv(m_client, bytes.data(), bytes.size(), 0);
        m_received.append(bytes.data(), qMax(count, ssize_t(0)));
        return count > 0;
    }

    QByteArray m_received;
};

TEST_F(StandBodyLimit, RefusesABodyByItsAnnouncementAlone)
{
    sendHead("content-LENGTH:  " + QByteArray::number(most + 1));
    expectTurnedAway();
}

TEST_F(StandBodyLimit, RefusesAnAnnouncementThatComesInPieces)
{
    sendAll("POST / HTTP/1.1\r\nHost: localhost\r\nContent-Le");
    waitForTheStand();
    sendAll("ngth: " + QByteArray::number(2 * most) + "\r\n\r");
    waitForTheStand();
    sendAll("\n");
    expectTurnedAway();
}

TEST_F(StandBodyLimit, TakesABodyUpToTheLimitAndTheNextRequestAfterIt)
{
    const QByteArray body(most - 1024, ' ');
    for (int i = 0; i < 3; ++i) {
        sendHead("Content-Length: " + QByteArray::number(body.size()));
        sendAll(body);
        EXPECT_EQ(nextStatus(), "HTTP/1.1 422 Unprocessable Entity");
    }
}

TEST_F(StandBodyLimit, IsForEachOfTheRequestsThatCameTogether)
{
    const QByteArray body(most / 4, ' ');
    const auto request = "POST /stand/faults HTTP/1.1\r\nHost: localhost\r\nContent-Length: " +
                         QByteArray::number(body.size()) + "\r\n\r\n" + body;
    for (int i = 0; i < 3; ++i) {
        sendAll(request + request + request);
        for (int answer = 0; answer < 3; ++answer)
            EXPECT_EQ(nextStatus(), "HTTP/1.1 422 Unprocessable Entity");
    }
}

TEST_F(StandBodyLimit, KeepsItsMemoryWhile200MegabytesOfAnAnnouncedBodyAreSent)
{
    const auto before = greatestMemoryOf(m_stand.id());
    sendHead("Content-Length: " + QByteArray::number(200 * mebibyte));
    sendMany(QByteArray(mebibyte, 'x'), 200 * mebibyte);
    expectTurnedAway();
    EXPECT_LT(greatestMemoryOf(m_stand.id()) - before, 64 * mebibyte);
}

TEST_F(StandBodyLimit, KeepsItsMemoryWhile200MegabytesComeInChunks)
{
    const auto before = greatestMemoryOf(m_stand.id());
    sendHead("Transfer-Encoding: chunked");
    sendMany("100000\r\n" + QByteArray(mebibyte, 'x') + "\r\n", 200 * mebibyte);
    expectTurnedAway();
    EXPECT_LT(greatestMemoryOf(m_stand.id()) - before, 64 * mebibyte);
}

TEST_F(StandBodyLimit, KeepsItsMemoryWhileAHeadHasNoEnd)
{
    const auto before = greatestMemoryOf(m_stand.id());
    sendAll("GET / HTTP/1.1\r\n");
    sendMany("X: " + QByteArray(mebibyte, 'x') + "\r\n", 200 * mebibyte);
    expectTurnedAway();
    EXPECT_LT(greatestMemoryOf(m_stand.id()) - before, 64 * mebibyte);
}

TEST_F(StandBodyLimit, ReadsNoFurtherWhereAFaultKeepsTheConnection)
{
    const auto faults = [this](const QByteArray& method, const QByteArray& body = {}) {
        const auto reply = standtest::send({.url = m_url + "/stand/faults", .method = method, .body = body});
        return reply.json()[u"faults"].toArray().at(0);
    };
    faults("POST", R"(["any:hang"])");
    sendAll("GET /v2/ HTTP/1.1\r\nHost: localhost\r\n\r\n");
    while (faults("GET")[u"fired"].toInt() == 0 && !HasFailure())
        waitForTheStand();
    const auto before = greatestMemoryOf(m_stand.id());
    const timeval untilItIsFull{.tv_sec = 1, .tv_usec = 0};
    setsockopt(m_client, SOL_SOCKET, SO_SNDTIMEO, &untilItIsFull, sizeof untilItIsFull);
    const QByteArray piece(mebibyte, 'x');
    qint64 sent = 0;
    for (ssize_t taken = 1; taken > 0 && sent < 200 * mebibyte; sent += taken)
        taken = send(m_client, piece.constData(), static_cast<size_t>(piece.size()), MSG_NOSIGNAL);
    EXPECT_LT(sent, 64 * mebibyte);
    EXPECT_LT(greatestMemoryOf(m_stand.id()) - before, 64 * mebibyte);
}

} // namespace
