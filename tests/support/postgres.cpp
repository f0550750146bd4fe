#include "tests/support/postgres.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>

#include <gtest/gtest.h>

#include <csignal>
#include <sys/prctl.h>
#include <sys/shm.h>
#include <unistd.h>

#include <utility>

using namespace Qt::StringLiterals;

namespace test_support {

namespace {

constexpr int patience = 60'000;
constexpr uid_t nobody = 65534;

/// The folder of the newest one that is installed.
QString programs()
{
    const QDir all(u"/usr/lib/postgresql"_s);
    const QStringList versions =
        all.entryList(QDir::Dirs | QDir::NoDotAndDotDot, QDir::Name | QDir::Reversed);
    return versions.isEmpty() ? QString() : all.filePath(versions.first() + u"/bin/"_s);
}

/// It refuses to be root, and is not to outlive the test.
void becomeOrdinary()
{
    if (geteuid() == 0 && (setgid(nobody) != 0 || setuid(nobody) != 0))
        _exit(1);
    prctl(PR_SET_PDEATHSIG, SIGQUIT); // at which it ends at once, but leaves nothing behind
}

/// Where a server's data lie as they were made, for the next to begin with: it takes ten times as long to
/// make them as to copy. Empty where nobody clears away after the tests.
QString keptServer()
{
    const QString folder = qEnvironmentVariable("TMPDIR");
    return folder.isEmpty() ? QString() : folder + u"/kyr-postgres-%1"_s.arg(geteuid());
}

QString below(const QString& folder) { return folder + u"/postgres-XXXXXX"_s; }

} // namespace

Postgres::Postgres()
    : Postgres(QDir::tempPath(), {})
{}

Postgres::Postgres(const QString& folder, QStringList settings)
    : m_directory(below(folder))
    , m_settings(std::move(settings))
{
    ownDirectory();
    const QString data = m_directory.filePath(u"data"_s);
    const QString made = keptServer();
    if (QFileInfo::exists(made)) {
        EXPECT_EQ(QProcess::execute(u"cp"_s, {u"-a"_s, made, data}), 0);
        start();
        return;
    }
    make();
    if (made.isEmpty())
        return;
    ::kill(static_cast<pid_t>(m_server->processId()), SIGINT); // it ends, with all of it on the disk
    EXPECT_TRUE(m_server->waitForFinished(patience));
    const QTemporaryDir beside(made + u"-XXXXXX"_s);
    EXPECT_EQ(QProcess::execute(u"cp"_s, {u"-a"_s, data, beside.path()}), 0);
    QFile::rename(beside.filePath(u"data"_s), made); // unless somebody else was quicker
    start();
}

void Postgres::make()
{
    run(u"initdb"_s, {u"-D"_s, m_directory.filePath(u"data"_s), u"-U"_s, u"owner"_s, u"-A"_s, u"trust"_s,
                      u"-E"_s, u"UTF8"_s, u"--locale=C"_s, u"-N"_s, u"--no-instructions"_s});
    start();
    run(u"createdb"_s, {u"-h"_s, m_directory.path(), u"-U"_s, u"owner"_s, u"shop"_s});
}

Postgres::Postgres(const Postgres& primary, Copy /*of it*/)
    : m_directory(below(QFileInfo(primary.m_directory.path()).path()))
    , m_settings(primary.m_settings)
{
    ownDirectory();
    copyOf(primary);
    start();
}

void Postgres::copyOf(const Postgres& primary)
{
    run(u"pg_basebackup"_s, {u"-h"_s, primary.m_directory.path(), u"-U"_s, u"owner"_s, u"-D"_s,
                             m_directory.filePath(u"data"_s), u"-R"_s, u"-c"_s, u"fast"_s, u"-N"_s});
}

Postgres::~Postgres()
{
    if (!m_server)
        return;
    thaw();
    ::kill(static_cast<pid_t>(m_server->processId()), SIGQUIT);
    if (!m_server->waitForFinished(patience))
        kill();
}

QString Postgres::address(const QString& user) const
{
    return u"postgresql:///shop?host=%1&user=%2"_s.arg(m_directory.path(), user);
}

std::unique_ptr<Postgres> Postgres::makeStandby()
{
    std::unique_ptr<Postgres> standby(new Postgres(*this, Copy{}));
    waitForStandbys();
    return standby;
}

void Postgres::comeBackAsStandbyOf(const Postgres& primary)
{
    EXPECT_TRUE(QDir(m_directory.filePath(u"data"_s)).removeRecursively());
    copyOf(primary);
    start();
    primary.waitForStandbys();
}

void Postgres::waitForStandbys() const
{
    sql(u"ALTER SYSTEM SET synchronous_standby_names = '*'"_s);
    sql(u"SELECT pg_reload_conf()"_s);
    QElapsedTimer waited;
    waited.start();
    QString state;
    do
        state = sql(u"SELECT sync_state FROM pg_stat_replication"_s);
    while (state != u"sync" && waited.elapsed() < patience);
    EXPECT_EQ(state, u"sync");
}

QString Postgres::addressWith(const Postgres& standby) const
{
    return u"postgresql:///shop?host=%1,%2&user=owner"_s.arg(m_directory.path(), standby.m_directory.path());
}

void Postgres::ownDirectory() const
{
    if (geteuid() == 0) {
        EXPECT_EQ(chown(QFile::encodeName(m_directory.path()).constData(), nobody, nobody), 0);
    }
}

void Postgres::start()
{
    m_server = std::make_unique<QProcess>();
    m_server->setChildProcessModifier(becomeOrdinary);
    m_server->setStandardOutputFile(m_directory.filePath(u"log"_s));
    m_server->setStandardErrorFile(m_directory.filePath(u"log"_s), QIODevice::Append);
    QStringList arguments{u"-D"_s, m_directory.filePath(u"data"_s)};
    for (const QString& setting :
         QStringList{u"listen_addresses="_s, u"unix_socket_directories="_s + m_directory.path(),
                     u"shared_buffers=8MB"_s, u"dynamic_shared_memory_type=mmap"_s} + // goes with the folder
             m_settings)
        arguments << u"-c"_s << setting;
    m_server->start(programs() + u"postgres"_s, arguments);
    QElapsedTimer waited;
    waited.start();
    QProcess ready;
    do {
        ready.start(programs() + u"pg_isready"_s, {u"-h"_s, m_directory.path()});
        ready.waitForFinished(patience);
    } while (ready.exitCode() != 0 && waited.elapsed() < patience && !m_server->waitForFinished(0));
    QFile log(m_directory.filePath(u"log"_s));
    EXPECT_EQ(ready.exitCode(), 0)
        << "the database does not start: "
        << (log.open(QIODevice::ReadOnly) ? log.readAll() : QByteArray()).toStdString();
}

void Postgres::kill()
{
    if (!m_server)
        return;
    ::kill(static_cast<pid_t>(m_server->processId()), SIGSTOP); // or it would start others
    QProcess::execute(u"pkill"_s, {u"-KILL"_s, u"-P"_s, QString::number(m_server->processId())});
    m_server->kill();
    m_server->waitForFinished(patience);
    m_server.reset();
    giveBackMemory();
}

// It would do so itself with its next start, which may never come; and a system has only so many such
// segments.
void Postgres::giveBackMemory() const
{
    constexpr int place = 6; // the line with the key and the number of its segment
    QFile notes(m_directory.filePath(u"data/postmaster.pid"_s));
    if (!notes.open(QIODevice::ReadOnly))
        return;
    const QByteArray segment = notes.readAll().split('\n').value(place).simplified().split(' ').value(1);
    if (!segment.isEmpty())
        shmctl(segment.toInt(), IPC_RMID, nullptr);
}

void Postgres::freeze()
{
    ::kill(static_cast<pid_t>(m_server->processId()), SIGSTOP);
    QProcess::execute(u"pkill"_s, {u"-STOP"_s, u"-P"_s, QString::number(m_server->processId())});
}

void Postgres::thaw()
{
    if (!m_server)
        return;
    QProcess::execute(u"pkill"_s, {u"-CONT"_s, u"-P"_s, QString::number(m_server->processId())});
    ::kill(static_cast<pid_t>(m_server->processId()), SIGCONT);
}

QString Postgres::sql(const QString& statements) const
{
    QProcess client;
    client.start(programs() + u"psql"_s,
                 {u"-h"_s, m_directory.path(), u"-U"_s, u"owner"_s, u"-d"_s, u"shop"_s, u"-X"_s, u"-q"_s,
                  u"-A"_s, u"-t"_s, u"-v"_s, u"ON_ERROR_STOP=1"_s, u"-c"_s, statements});
    EXPECT_TRUE(client.waitForFinished(patience));
    EXPECT_EQ(client.exitCode(), 0) << client.readAllStandardError().toStdString();
    return QString::fromUtf8(client.readAllStandardOutput()).trimmed();
}

void Postgres::run(const QString& program, const QStringList& arguments) const
{
    QProcess process;
    process.setChildProcessModifier(becomeOrdinary);
    process.setWorkingDirectory(m_directory.path());
    process.start(programs() + program, arguments);
    ASSERT_TRUE(process.waitForFinished(patience)) << "install PostgreSQL";
    ASSERT_EQ(process.exitCode(), 0) << process.readAllStandardError().toStdString();
}

} // namespace test_support
