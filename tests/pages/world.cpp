#include "tests/pages/world.h"

#include <QDir>
#include <QFile>
#include <QTcpServer>

#include <gtest/gtest.h>

#include <csignal>
#include <stdexcept>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace pagetest {

namespace {

constexpr int patienceMs = 40'000;

/// Stands between what is said to two exchanges.
constexpr QChar separator(0x1e);

int freePort()
{
    QTcpServer server;
    if (!server.listen(QHostAddress::LocalHost))
        throw std::runtime_error("no port is free");
    return server.serverPort();
}

} // namespace

World::World()
    : m_port(freePort())
{
    for (const QString& name : {u"home"_s, u"data"_s})
        QDir(m_folder.path()).mkdir(name);
    QFile::setPermissions(data(), QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    call(u"/var/lib/kyr-loyalty"_s, data());
    call(u"/etc/kyr-loyalty"_s, m_folder.path());
    call(u"127.0.0.1:8080"_s, u"127.0.0.1:%1"_s.arg(m_port));
    call(u"--port 8080"_s, u"--port %1"_s.arg(m_port));
    const int otherPort = freePort();
    call(u"127.0.0.1:8081"_s, u"127.0.0.1:%1"_s.arg(otherPort));
    call(u"--port 8081"_s, u"--port %1"_s.arg(otherPort));
}

QString World::data(const QString& name) const
{
    return path(u"data"_s) + (name.isEmpty() ? u""_s : u'/' + name);
}

void World::write(const QString& name, const QString& content) const
{
    QDir(m_folder.path()).mkpath(QFileInfo(path(name)).path());
    QFile file(path(name));
    if (!file.open(QIODevice::WriteOnly) || file.write(content.toUtf8()) < 0)
        throw std::runtime_error("no file " + name.toStdString());
    file.setPermissions(QFile::ReadOwner | QFile::WriteOwner);
}

void World::configureTill(const QString& more)
{
    write(u"password"_s, u"secret-of-the-shop\n"_s);
    write(
        u"till.toml"_s,
        u"[KYRLoyalty]\nserverUrl = \"%1/\"\nuser = \"shop\"\n%2\n[Till]\npasswordFile = \"password\"\nlogFile = \"till.log\"\n"_s
            .arg(url(), more));
    m_isConfigured = true;
}

void World::startDatabase()
{
    m_database = std::make_unique<test_support::Postgres>();
    call(u"postgresql://postgres@db.example.com/shop"_s, u"'%1'"_s.arg(m_database->address()));
    call(u"db.example.com"_s, m_database->folder());
}

void World::joinShop()
{
    startDatabase();
    m_standby = m_database->makeStandby();
    call(u"db2.example.com"_s, m_standby->folder());
    configureTill(u"[Shop]\ndatabase = \"%1\"\ntill = \"7\"\n"_s.arg(m_database->addressWith(*m_standby)));
    type(u"till shop prepare"_s);
}

void World::startStand(const QStringList& arguments)
{
    m_stand = std::make_unique<standtest::StandProcess>(QStringList{u"--port"_s, QString::number(m_port)} +
                                                        arguments);
    if (m_stand->url().isEmpty())
        throw std::runtime_error("the stand does not start: " + m_stand->errors().toStdString());
}

QString World::tellStand(const QString& page, const QString& json)
{
    return type(u"curl --silent --show-error --json '%1' %2/stand/%3"_s.arg(json, url(), page));
}

QString World::ours(QString page) const
{
    for (const auto& [theirs, here] : m_names)
        page.replace(theirs, here);
    return page;
}

QString World::pages(QString ours) const
{
    for (const auto& [theirs, here] : m_names)
        ours.replace(here, theirs);
    return ours;
}

void World::surround(QProcess& process) const
{
    auto environment = QProcessEnvironment::systemEnvironment();
    for (const QString& name : environment.keys()) {
        if (name.startsWith(u"KYR_"_s) || name.startsWith(u"XDG_"_s))
            environment.remove(name);
    }
    environment.insert(u"CONFIGURATION_DIRECTORY"_s, m_folder.path());
    environment.insert(u"HOME"_s, path(u"home"_s));
    environment.insert(u"PATH"_s, QStringLiteral(KYR_PROGRAMS ":") + environment.value(u"PATH"_s));
    environment.insert(u"QT_QPA_PLATFORM"_s, u"offscreen"_s);
    environment.insert(u"LC_ALL"_s, u"C.UTF-8"_s);
    if (m_database) {
        environment.insert(u"PGHOST"_s, m_database->folder());
        environment.insert(u"PGUSER"_s, u"owner"_s);
    }
    if (m_isConfigured) {
        environment.insert(u"KYR_CONFIG"_s, path(u"till.toml"_s));
        environment.insert(u"KYR_DATA_DIR"_s, data());
    }
    process.setProcessEnvironment(environment);
    process.setWorkingDirectory(m_folder.path());
    process.setProcessChannelMode(QProcess::MergedChannels);
}

QString World::type(const QString& script) const
{
    QProcess shell;
    surround(shell);
    shell.setStandardInputFile(QProcess::nullDevice());
    shell.setChildProcessModifier([] { ::setpgid(0, 0); });
    // Nobody is left behind, whatever was started in the background.
    shell.start(u"bash"_s,
                {u"-c"_s, u"trap 'kill $(jobs -p) 2>/dev/null' EXIT\n"_s + ours(m_before + script)});
    if (!shell.waitForFinished(patienceMs)) {
        ADD_FAILURE() << "does not end: " << script.toStdString();
        ::kill(-static_cast<pid_t>(shell.processId()), SIGKILL);
        shell.waitForFinished(patienceMs);
    }
    return pages(QString::fromUtf8(shell.readAll()));
}

QStringList World::typeBlock(const Block& block) const
{
    QString script = u"errors=0; trap 'errors=$((errors + 1))' ERR\n"_s;
    for (const Exchange& exchange : exchangesOf(block)) {
        script += exchange.commands.join(u'\n') + u'\n';
        if (!exchange.answer.isEmpty()) // which may be a failure
            script += u"[ $? = 0 ] || errors=$((errors - 1))\n"_s;
        script += u"[ $errors = 0 ] || exit\nprintf '\\n\\036'\n"_s;
    }
    return type(script).split(separator);
}

QString World::play(const story::Steps& steps)
{
    if (m_till.state() == QProcess::NotRunning) {
        surround(m_till);
        m_till.start(QStringLiteral(KYR_PROGRAMS "/till"), {u"shell"_s, u"--json"_s});
    }
    QByteArray said;
    for (const story::Step& step : steps.list()) {
        m_till.write(step.json() + '\n');
        do {
            if (!m_till.canReadLine() && !m_till.waitForReadyRead(patienceMs))
                throw std::runtime_error("the till does not answer: " + said.toStdString());
            said = m_till.readLine();
        } while (!said.startsWith('{')); // the log goes the same way
    }
    return pages(QString::fromUtf8(said));
}

void World::endTill()
{
    m_till.closeWriteChannel();
    m_till.waitForFinished(patienceMs);
}

} // namespace pagetest
