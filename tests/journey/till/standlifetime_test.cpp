#include "tests/journey/till/tillprocess.h"

#include <QFile>

#include <gmock/gmock.h>

#include <cerrno>
#include <csignal>

#include <poll.h>
#include <sys/syscall.h>
#include <unistd.h>

using namespace Qt::StringLiterals;
using ::testing::HasSubstr;

namespace tilltest {

namespace {

/// The real stand behind a script that leaves its process number in a file.
class WatchedStand
{
public:
    WatchedStand()
        : m_program(m_files.write(u"stand"_s, "#!/bin/sh\necho $$ > '" + m_files.path(u"pid"_s).toUtf8() +
                                                  "'\nexec '" STAND_PROGRAM "' \"$@\"\n"))
    {
        QFile::setPermissions(m_program, QFile::ReadOwner | QFile::ExeOwner);
    }

    [[nodiscard]] QString program() const { return m_program; }
    /// 0 when it was never started.
    [[nodiscard]] pid_t pid() const
    {
        QFile file(m_files.path(u"pid"_s));
        return file.open(QIODevice::ReadOnly) ? file.readAll().trimmed().toInt() : 0;
    }

private:
    Files m_files;
    QString m_program;
};

/// True when the process ends in time; a process that nobody has fetched the status of has ended too.
bool ends(int descriptor)
{
    pollfd watched{.fd = descriptor, .events = POLLIN, .revents = 0};
    return poll(&watched, 1, patienceMs) == 1;
}

} // namespace

TEST(TillStand, IsGoneWhenTheTillHasEnded)
{
    const WatchedStand stand;
    const Ran ran = run({u"shell"_s, u"--stand"_s, stand.program()}, "openSale id=R-1 positions=[]\n");
    EXPECT_EQ(ran.status, 0);
    ASSERT_GT(stand.pid(), 0);
    EXPECT_EQ(kill(stand.pid(), 0), -1);
    EXPECT_EQ(errno, ESRCH);
}

TEST(TillStand, EndsWhenTheTillIsKilled)
{
    const WatchedStand stand;
    QProcess till;
    start(till, {u"shell"_s, u"--json"_s, u"--stand"_s, stand.program()});
    till.write("openSale id=R-1 positions=[]\n");
    while (!till.canReadLine())
        ASSERT_TRUE(till.waitForReadyRead(patienceMs));
    ASSERT_GT(stand.pid(), 0);
    const int descriptor = static_cast<int>(syscall(SYS_pidfd_open, stand.pid(), 0));
    ASSERT_GE(descriptor, 0);
    till.kill();
    ASSERT_TRUE(till.waitForFinished(patienceMs));
    EXPECT_TRUE(ends(descriptor));
    close(descriptor);
}

TEST(TillStand, IsNotStartedWhenAServiceIsNamed)
{
    const WatchedStand stand;
    const Ran ran =
        run({u"shell"_s, u"--stand"_s, stand.program(), u"--server-url"_s, u"http://127.0.0.1:1/"_s});
    EXPECT_EQ(ran.status, 0);
    EXPECT_EQ(stand.pid(), 0);
}

TEST(TillStand, AProgramThatCannotStartIsNamed)
{
    for (const QString& program : {u"/nowhere/stand"_s, u"/bin/false"_s, u"/bin/true"_s}) {
        const Ran ran = run({u"shell"_s, u"--stand"_s, program});
        EXPECT_EQ(ran.status, 2);
        EXPECT_THAT(ran.err.toStdString(),
                    HasSubstr(program.toStdString() + ": the stand cannot be started: "));
    }
}

} // namespace tilltest
