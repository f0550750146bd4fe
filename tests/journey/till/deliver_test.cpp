#include "tests/journey/till/deliverscene.h"

#include <QDir>
#include <QJsonDocument>

#include <csignal>
#include <fcntl.h>
#include <sys/stat.h>

using namespace Qt::StringLiterals;
using test_support::HttpAnswer;
using ::testing::AllOf;
using ::testing::HasSubstr;

namespace tilltest {

namespace {

/// A named pipe with no room left: whoever writes to it is stuck until it is emptied.
class FullPipe
{
public:
    explicit FullPipe(const QString& path)
    {
        const QByteArray name = path.toUtf8();
        EXPECT_EQ(mkfifo(name.constData(), 0600), 0);
        m_pipe = open(name.constData(), O_RDWR | O_NONBLOCK | O_CLOEXEC);
        const QByteArray page(4096, ' ');
        while (write(m_pipe, page.constData(), static_cast<std::size_t>(page.size())) > 0) {
        }
    }
    ~FullPipe() { close(m_pipe); }
    FullPipe(const FullPipe&) = delete;
    FullPipe& operator=(const FullPipe&) = delete;

    void empty() const
    {
        std::array<char, 4096> piece{};
        while (read(m_pipe, piece.data(), piece.size()) > 0) {
        }
    }

private:
    int m_pipe;
};
} // namespace

TEST_F(TillDeliver, SendsWhatWaitsAndWhatComesInUntilItIsTold)
{
    server.enqueue(HttpAnswer::status(200, "{}"));
    server.enqueue(HttpAnswer::status(200, "{}"));
    startProgram();
    ASSERT_TRUE(says("message 1 of R-1, payment-b2c: delivered\n"));
    enqueue(u"R-2"_s);
    ASSERT_TRUE(says("message 2 of R-2, payment-b2c: delivered\n"));
    EXPECT_EQ(stopProgram(), 0);
    EXPECT_TRUE(said.endsWith("stopped\n")) << said.toStdString();
    EXPECT_EQ(server.requests().size(), 2);
}

TEST_F(TillDeliver, TellsWhatWasEarned)
{
    server.enqueue(HttpAnswer::status(200, R"({"data":{"paymentBonus":12.5}})"));
    startProgram();
    EXPECT_TRUE(says("message 1 of R-1, payment-b2c: delivered, earned 12.50 points\n"));
    EXPECT_EQ(stopProgram(), 0);
}

TEST_F(TillDeliver, UsesThePresentPassword)
{
    server.enqueue(HttpAnswer::status(200, "{}"));
    startProgram();
    ASSERT_TRUE(says("delivered\n"));
    EXPECT_EQ(server.requests().value(0).header("Authorization"),
              "Basic " + QByteArray("shop:new").toBase64());
    EXPECT_EQ(stopProgram(SIGINT), 0);
}

TEST_F(TillDeliver, FinishesTheMessageInHand)
{
    HttpAnswer slow = HttpAnswer::status(200, "{}");
    slow.delay = std::chrono::seconds(1);
    server.enqueue(slow);
    startProgram({}, {u"--json"_s});
    ASSERT_EQ(server.waitForRequests(1).size(), 1);
    EXPECT_EQ(stopProgram(), 0);
    const QJsonObject summary = QJsonDocument::fromJson(said).object();
    EXPECT_EQ(summary[u"delivered"_s].toInt(), 1) << said.toStdString();
    EXPECT_EQ(summary[u"waiting"_s].toInt(), 0);
}

TEST_F(TillDeliver, TellsTheServiceManagerAndKeepsItsWatchdog)
{
    const QString path = files.path(u"notify"_s);
    const Manager manager(path);
    startProgram({u"NOTIFY_SOCKET="_s + path, u"WATCHDOG_USEC=200000"_s});
    EXPECT_TRUE(manager.hears("READY=1"));
    EXPECT_TRUE(manager.hears("WATCHDOG=1"));
    EXPECT_EQ(stopProgram(), 0);
    EXPECT_TRUE(manager.hears("STOPPING=1"));
}

TEST_F(TillDeliver, TellsTheServiceManagerThatTheLastAttemptFailedButNotWhy)
{
    server.enqueue(HttpAnswer::status(503, R"({"data": [{"message": "down"}]})"));
    server.enqueue(HttpAnswer::status(200, "{}"));
    const QString path = files.path(u"notify"_s);
    const Manager manager(path);
    startProgram({u"NOTIFY_SOCKET="_s + path});
    EXPECT_TRUE(manager.hears("STATUS=delivering"));
    EXPECT_TRUE(manager.hears("STATUS=delivering; the last attempt failed, see the journal"));
    EXPECT_TRUE(manager.hears("STATUS=delivering"));
    EXPECT_EQ(stopProgram(), 0);
}

TEST_F(TillDeliver, LetsTheWatchdogGoWhileItsDeliveryIsStuck)
{
    const QString path = files.path(u"notify"_s);
    const Manager manager(path);
    const FullPipe output(files.path(u"output"_s));
    program.setStandardOutputFile(files.path(u"output"_s));
    startProgram({u"NOTIFY_SOCKET="_s + path, u"WATCHDOG_USEC=200000"_s});
    ASSERT_TRUE(manager.hears("READY=1"));
    EXPECT_TRUE(manager.hearsNothingFor(std::chrono::seconds(1)));
    output.empty();
    EXPECT_TRUE(manager.hears("WATCHDOG=1"));
    EXPECT_EQ(stopProgram(), 0);
}

TEST_F(TillDeliver, StandsByWhileAnotherDelivers)
{
    server.enqueue(HttpAnswer::status(200, "{}"));
    startProgram();
    ASSERT_TRUE(says("delivered\n"));
    QProcess second;
    tilltest::start(second, arguments());
    QByteArray heard;
    const auto hears = [&](const char* text) {
        while (!heard.contains(text) && second.waitForReadyRead(patienceMs))
            heard += second.readAllStandardOutput();
        return heard.contains(text);
    };
    EXPECT_TRUE(hears("standing by: another delivery is under way"));
    EXPECT_EQ(run({u"queue"_s, u"deliver"_s, u"--data-dir"_s, directory}).status, 2);
    EXPECT_EQ(stopProgram(), 0);
    EXPECT_TRUE(hears("delivering\n")) << "it takes over";
    second.kill();
    second.waitForFinished(patienceMs);
}

TEST_F(TillDeliver, SetsADamagedFileAsideAndGoesOnWithANewOne)
{
    storage::setDataDirectory({});
    static_cast<void>(files.write(u"data/till.sqlite"_s, "no database at all"));
    startProgram();
    ASSERT_TRUE(says("till.sqlite"));
    ASSERT_TRUE(says("delivering\n"));
    EXPECT_EQ(stopProgram(), 0);
    EXPECT_EQ(QDir(directory).entryList({u"till.sqlite.damaged-*"_s}).size(), 1);
    EXPECT_THAT(run({u"doctor"_s, u"--data-dir"_s, directory}).out.toStdString(),
                HasSubstr("warning files         damaged and set aside: till.sqlite.damaged-"));
}

TEST_F(TillDeliver, SaysAtOnceThatTheDataDirectoryCannotBeUsed)
{
    const QString file = files.write(u"file"_s, {});
    const Ran ran = run({u"deliver"_s, u"--data-dir"_s, file + u"/data"_s});
    EXPECT_EQ(ran.status, 2);
    EXPECT_THAT(ran.err.toStdString(), HasSubstr("till: "));
}

} // namespace tilltest
