#include "host/core/document.h"
#include "host/queue/messagequeue.h"
#include "host/storage/datadirectory.h"
#include "host/storage/documents.h"
#include "tests/journey/till/tillprocess.h"
#include "tests/support/httpserver.h"
#include "tests/support/rawdatabase.h"

#include <QDir>
#include <QFile>
#include <QJsonDocument>

#include <gmock/gmock.h>

#include <array>
#include <chrono>
#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <thread>
#include <unistd.h>

using namespace Qt::StringLiterals;
using test_support::HttpAnswer;
using test_support::HttpServer;
using ::testing::AllOf;
using ::testing::HasSubstr;

namespace tilltest {

namespace {

/// The service manager's end of the line.
class Manager
{
public:
    explicit Manager(const QString& path)
    {
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        const QByteArray name = path.toUtf8();
        std::memcpy(address.sun_path, name.constData(), static_cast<std::size_t>(name.size()));
        m_socket = socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
        EXPECT_EQ(bind(m_socket, reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
    }
    ~Manager() { close(m_socket); }
    Manager(const Manager&) = delete;
    Manager& operator=(const Manager&) = delete;

    /// Waits until it is told that.
    [[nodiscard]] bool hears(const QByteArray& state) const
    {
        setPatience(std::chrono::milliseconds(patienceMs));
        QByteArray heard;
        while (!(heard = next()).isNull()) {
            if (heard == state)
                return true;
        }
        return false;
    }

    /// Waits until it is told nothing for so long.
    [[nodiscard]] bool hearsNothingFor(std::chrono::milliseconds time) const
    {
        setPatience(time);
        const auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(patienceMs);
        while (!next().isNull()) {
            if (std::chrono::steady_clock::now() > end)
                return false;
        }
        return true;
    }

private:
    void setPatience(std::chrono::milliseconds time) const
    {
        const timeval patience{time.count() / 1000, time.count() % 1000 * 1000};
        setsockopt(m_socket, SOL_SOCKET, SO_RCVTIMEO, &patience, sizeof patience);
    }
    /// Null when nothing comes.
    [[nodiscard]] QByteArray next() const
    {
        std::array<char, 512> piece{};
        const ssize_t size = recv(m_socket, piece.data(), piece.size(), 0);
        return size < 0 ? QByteArray() : QByteArray(piece.data(), size);
    }

    int m_socket;
};

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

/// A data directory with an outgoing queue, a service, and the program that delivers to it.
class TillDeliver : public testing::Test
{
protected:
    TillDeliver()
    {
        enqueue(u"R-1"_s);
        configure("new");
    }
    ~TillDeliver() override
    {
        storage::setDataDirectory({});
        program.kill();
        program.waitForFinished(patienceMs);
    }

    void configure(const QByteArray& password, const QByteArray& more = {}) const
    {
        const QString file =
            files.write(u"till.toml"_s, "[KYRLoyalty]\nserverUrl = \"" + server.url().toString().toUtf8() +
                                            "\"\nuser = \"shop\"\npassword = \"" + password + "\"\n" + more);
        QFile::setPermissions(file, QFile::ReadOwner | QFile::WriteOwner);
    }

    void enqueue(const QString& receipt)
    {
        storage::setDataDirectory(directory);
        MessageQueue().enqueue(u"kyrloyalty"_s, receipt,
                               {{u"method"_s, u"POST"_s},
                                {u"url"_s, server.url(u"/v2/payment-b2c"_s)},
                                {u"headers"_s, QVariantMap{{u"Authorization"_s, u"Basic b2xk"_s}}},
                                {u"timeout"_s, 5},
                                {u"body"_s, QByteArray("{}")}},
                               u"text"_s);
    }

    [[nodiscard]] QStringList arguments() const
    {
        return {u"deliver"_s, u"--data-dir"_s, directory, u"--config"_s, files.path(u"till.toml"_s)};
    }

    void startProgram(const QStringList& variables = {}, const QStringList& more = {})
    {
        auto environment = QProcessEnvironment::systemEnvironment();
        for (const QString& variable : variables)
            environment.insert(variable.section(u'=', 0, 0), variable.section(u'=', 1));
        program.setProcessEnvironment(environment);
        tilltest::start(program, arguments() + more);
        ASSERT_TRUE(program.waitForStarted(patienceMs));
    }

    /// Waits until the program has said that on its standard output.
    bool says(const QByteArray& text)
    {
        while (!said.contains(text)) {
            if (!program.waitForReadyRead(patienceMs))
                return false;
            said += program.readAllStandardOutput();
        }
        return true;
    }

    /// Has it read its settings anew, and waits until that is done.
    void reload(const Manager& manager) const
    {
        kill(static_cast<pid_t>(program.processId()), SIGHUP);
        EXPECT_TRUE(manager.hears("RELOADING=1"));
        EXPECT_TRUE(manager.hears("READY=1"));
    }

    /// The password with which the message of that number was delivered.
    [[nodiscard]] QByteArray passwordOf(qsizetype request) const
    {
        const QByteArray header = server.waitForRequests(request + 1).value(request).header("Authorization");
        return QByteArray::fromBase64(header.sliced(QByteArray("Basic ").size())).sliced(5);
    }

    /// Ends it as a service manager does, and returns its exit status.
    int stopProgram(int signal = SIGTERM)
    {
        kill(static_cast<pid_t>(program.processId()), signal);
        EXPECT_TRUE(program.waitForFinished(patienceMs));
        said += program.readAllStandardOutput();
        return program.exitStatus() == QProcess::NormalExit ? program.exitCode() : -1;
    }

    const Files files;
    const QString directory = files.path(u"data"_s);
    HttpServer server;
    QProcess program;
    QByteArray said;
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

TEST_F(TillDeliver, RemovesWhatWasKeptForItsTimeOnceNothingIsToBeSent)
{
    const QString config = files.path(u"till.toml"_s);
    QFile file(config);
    ASSERT_TRUE(file.open(QIODevice::Append));
    file.write("[Till]\nkeepDays = 30\n");
    file.close();
    for (const QString& receipt : {u"R-1"_s, u"R-2"_s})
        DocumentsDao().store(QSharedPointer<Document>::create(SaleReceipt, receipt));
    const test_support::RawDatabase store(directory + u"/till.sqlite"_s);
    const qint64 now = QDateTime::currentMSecsSinceEpoch();
    constexpr qint64 day = 86'400'000;
    store.run(u"UPDATE documents SET stored = ?"_s, {now - 31 * day});
    store.run(u"UPDATE documents SET stored = ? WHERE identifier = 'R-2'"_s, {now - 29 * day});
    store.run(u"UPDATE clock SET seen = ?"_s, {now - day});
    server.enqueue(HttpAnswer::status(200, "{}")); // else R-1 is needed
    startProgram();
    const auto left = [&store] {
        QStringList receipts;
        for (const QVariantList& row : store.run(u"SELECT identifier FROM documents"_s))
            receipts.append(row[0].toString());
        return receipts;
    };
    const auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(patienceMs);
    while (left().size() > 1 && std::chrono::steady_clock::now() < end)
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    EXPECT_EQ(left(), QStringList(u"R-2"_s));
    EXPECT_EQ(stopProgram(), 0);
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

TEST_F(TillDeliver, ReadsItsSettingsAnewWhenItIsToldTo)
{
    const QString path = files.path(u"notify"_s);
    const Manager manager(path);
    const QString log = files.path(u"till.log"_s);
    server.enqueue(HttpAnswer::status(200, "{}"));
    server.enqueue(HttpAnswer::status(200, "{}"));
    startProgram({u"NOTIFY_SOCKET="_s + path});
    ASSERT_TRUE(manager.hears("READY=1"));
    ASSERT_TRUE(says("message 1 of R-1, payment-b2c: delivered\n"));
    EXPECT_EQ(passwordOf(0), "new");
    configure("newest", "[Till]\nlogFile = \"till.log\"\ndataDirectory = \"elsewhere\"\n");
    reload(manager);
    EXPECT_THAT(contentOf(log).toStdString(),
                HasSubstr("info    [till] The settings were read anew from " + files.path({}).toStdString()));
    enqueue(u"R-2"_s);
    ASSERT_TRUE(says("message 2 of R-2, payment-b2c: delivered\n"));
    EXPECT_EQ(passwordOf(1), "newest");
    EXPECT_EQ(stopProgram(), 0);
    EXPECT_EQ(program.readAllStandardError(), "") << "the data directory is the one of the command line";
}

TEST_F(TillDeliver, GoesOnAsBeforeWhenTheNewSettingsAreBroken)
{
    const QString path = files.path(u"notify"_s);
    const Manager manager(path);
    server.enqueue(HttpAnswer::status(200, "{}"));
    server.enqueue(HttpAnswer::status(200, "{}"));
    startProgram({u"NOTIFY_SOCKET="_s + path});
    ASSERT_TRUE(manager.hears("READY=1"));
    ASSERT_TRUE(says("message 1 of R-1, payment-b2c: delivered\n"));
    configure("broken", "timeout = 0\n");
    reload(manager);
    configure("broken", "[Till]\nlogFile = \"/nowhere/log\"\n");
    reload(manager);
    enqueue(u"R-2"_s);
    ASSERT_TRUE(says("message 2 of R-2, payment-b2c: delivered\n"));
    EXPECT_EQ(passwordOf(1), "new");
    EXPECT_EQ(stopProgram(), 0);
    EXPECT_THAT(program.readAllStandardError().toStdString(),
                AllOf(HasSubstr("till: till: error: The new settings are not taken, the former stay: " +
                                files.path(u"till.toml"_s).toStdString() + ":5: KYRLoyalty:timeout: "),
                      HasSubstr("/nowhere/log: the log file cannot be written")));
}

TEST_F(TillDeliver, SaysThatAnotherDataDirectoryTakesAStart)
{
    const QString path = files.path(u"notify"_s);
    const Manager manager(path);
    configure("new", "[Till]\ndataDirectory = \"data\"\n");
    tilltest::start(program, {u"deliver"_s, u"--config"_s, files.path(u"till.toml"_s)});
    ASSERT_TRUE(says("delivering\n"));
    configure("new", "[Till]\ndataDirectory = \"elsewhere\"\n");
    kill(static_cast<pid_t>(program.processId()), SIGHUP);
    QByteArray complaint;
    while (!complaint.contains('\n') && program.state() == QProcess::Running) {
        program.waitForReadyRead(patienceMs);
        complaint += program.readAllStandardError();
    }
    EXPECT_EQ(complaint,
              "till: till: warning: " + directory.toUtf8() + " is delivered until the next start\n");
}

TEST_F(TillDeliver, BeginsAMovedLogFileAnewWhenItIsToldTo)
{
    const QString path = files.path(u"notify"_s);
    const Manager manager(path);
    const QString log = files.path(u"till.log"_s);
    startProgram({u"NOTIFY_SOCKET="_s + path}, {u"--log-file"_s, log});
    ASSERT_TRUE(manager.hears("READY=1"));
    ASSERT_TRUE(QFile::rename(log, log + u".1"_s));
    reload(manager);
    EXPECT_THAT(contentOf(log).toStdString(), HasSubstr("The settings were read anew"));
    EXPECT_EQ(contentOf(log + u".1"_s).count("The settings were read anew"), 0);
    EXPECT_EQ(QFileInfo(log).permissions() & QFile::Permissions(0x0077), QFile::Permissions());
    EXPECT_EQ(stopProgram(), 0);
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
