#pragma once

#include "host/queue/messagequeue.h"
#include "host/storage/datadirectory.h"
#include "tests/journey/till/tillprocess.h"
#include "tests/support/httpserver.h"

#include <QFile>
#include <QProcess>

#include <gmock/gmock.h>

#include <array>
#include <chrono>
#include <csignal>
#include <cstring>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace tilltest {

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

/// A data directory with an outgoing queue, a service, and the program that delivers to it.
class TillDeliver : public testing::Test
{
protected:
    TillDeliver()
    {
        enqueue(QStringLiteral("R-1"));
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
        const QString file = files.write(QStringLiteral("till.toml"),
                                         "[KYRLoyalty]\nserverUrl = \"" + server.url().toString().toUtf8() +
                                             "\"\nuser = \"shop\"\npassword = \"" + password + "\"\n" + more);
        QFile::setPermissions(file, QFile::ReadOwner | QFile::WriteOwner);
    }

    void enqueue(const QString& receipt)
    {
        storage::setDataDirectory(directory);
        MessageQueue().enqueue(QStringLiteral("kyrloyalty"), receipt,
                               {{QStringLiteral("method"), QStringLiteral("POST")},
                                {QStringLiteral("url"), server.url(QStringLiteral("/v2/payment-b2c"))},
                                {QStringLiteral("headers"), QVariantMap{{QStringLiteral("Authorization"),
                                                                         QStringLiteral("Basic b2xk")}}},
                                {QStringLiteral("timeout"), 5},
                                {QStringLiteral("body"), QByteArray("{}")}},
                               QStringLiteral("text"));
    }

    [[nodiscard]] QStringList arguments() const
    {
        return {QStringLiteral("deliver"), QStringLiteral("--data-dir"), directory,
                QStringLiteral("--config"), files.path(QStringLiteral("till.toml"))};
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
    const QString directory = files.path(QStringLiteral("data"));
    test_support::HttpServer server;
    QProcess program;
    QByteArray said;
};

} // namespace tilltest
