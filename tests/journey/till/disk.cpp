#include "tests/journey/till/disk.h"

#include "host/network/restclient.h"

#include <QDir>
#include <QFile>

#include <csignal>
#include <stdexcept>
#include <sys/prctl.h>
#include <sys/types.h>

using namespace Qt::StringLiterals;

namespace tilltest {

namespace {

const QStringList ownMounts{u"--mount"_s, u"--map-root-user"_s, u"sh"_s, u"-c"_s};

/// Lets whoever may at all trace a program that is not its child.
void allowTracing(QProcess& program)
{
    program.setChildProcessModifier([] { prctl(PR_SET_PTRACER, PR_SET_PTRACER_ANY, 0, 0, 0); });
}

} // namespace

Place::Place()
    : m_stand(std::make_unique<standtest::StandProcess>())
{
    m_url = QString::fromLatin1(m_stand->url()) + u'/';
    m_config = m_files.write(
        u"till.toml"_s, "[KYRLoyalty]\nuser = \"shop\"\npassword = \"secret-of-the-shop\"\nserverUrl = \"" +
                            m_url.toLatin1() + "\"\n");
    QDir().mkdir(folder());
}

QString Place::mountingFault()
{
    QProcess attempt;
    attempt.start(u"unshare"_s, ownMounts + QStringList{u"mount -t tmpfs tmpfs /tmp"_s});
    if (!attempt.waitForFinished(patienceMs) || attempt.exitStatus() != QProcess::NormalExit)
        return u"unshare cannot be started: "_s + attempt.errorString();
    if (attempt.exitCode() == 0)
        return {};
    return u"nothing may be mounted here (in a container it takes the capability SYS_ADMIN): "_s +
           QString::fromUtf8(attempt.readAllStandardError()).trimmed();
}

QStringList Place::with(const QStringList& command) const
{
    return command + QStringList{u"--config"_s, m_config, u"--data-dir"_s, folder()};
}

void Place::startShell(QProcess& shell) const
{
    allowTracing(shell);
    shell.start(QStringLiteral(TILL_PROGRAM), with({u"shell"_s, u"--json"_s}));
}

void Place::startMounted(QProcess& till, const QString& mount, const QStringList& command) const
{
    const QString script = mount + u" && shift && exec \"$@\""_s;
    till.start(u"unshare"_s, ownMounts +
                                 QStringList{script, u"sh"_s, folder(), QStringLiteral(TILL_PROGRAM)} +
                                 with(command));
}

void Place::startShellOnSmallDisk(QProcess& shell, const QString& size) const
{
    startMounted(shell, u"mount -t tmpfs -o mode=700,size=%1 tmpfs \"$1\""_s.arg(size),
                 {u"shell"_s, u"--json"_s});
}

QString Place::smallDisk(const QProcess& shell) const
{
    return u"/proc/%1/root"_s.arg(shell.processId()) + folder();
}

void Place::startReadOnly(QProcess& till, const QStringList& command) const
{
    startMounted(till, u"mount --bind \"$1\" \"$1\" && mount -o remount,ro,bind \"$1\""_s, command);
}

QVariantMap Place::page(const QString& name) const
{
    RestClient client;
    client.get(QUrl(m_url + u"stand/"_s + name), {}, {});
    if (client.getErrorCode() != 0)
        throw std::runtime_error("the stand cannot be read");
    return client.getResponse().toMap();
}

QStringList Place::operations() const
{
    QStringList told;
    const QVariantMap ledger = page(u"ledger"_s);
    const QVariantList operations = ledger.value(u"operations"_s).toList();
    for (const QVariant& entry : operations) {
        const QVariantMap operation = entry.toMap();
        const QString kind = operation.value(u"operation"_s).toString();
        if (kind != u"opening")
            told.append(kind + u' ' + QString::number(operation.value(u"points"_s).toDouble()));
    }
    const QVariantList reports = ledger.value(u"anonymous"_s).toList();
    for (const QVariant& entry : reports) {
        const QVariantMap report = entry.toMap();
        told.append(report.value(u"method"_s).toString() + u' ' +
                    report.value(u"receipt_number"_s).toString());
    }
    return told;
}

qint64 Place::lastExchange() const
{
    const QVariantList exchanges = page(u"exchanges"_s).value(u"exchanges"_s).toList();
    return exchanges.isEmpty() ? 0 : exchanges.last().toMap().value(u"n"_s).toLongLong();
}

QStringList Place::asked(qint64 after) const
{
    QStringList methods;
    const QVariantList exchanges = page(u"exchanges?after=%1"_s.arg(after)).value(u"exchanges"_s).toList();
    for (const QVariant& exchange : exchanges)
        methods.append(exchange.toMap().value(u"method"_s).toString());
    return methods;
}

FilledDisk::FilledDisk(const QString& folder)
    : m_filler(folder + u"/filler"_s)
{
    QFile file(m_filler);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Unbuffered))
        throw std::runtime_error("the small disk cannot be reached");
    const QByteArray page(4096, 'x');
    while (file.write(page) > 0) {
    }
}

FilledDisk::~FilledDisk() { QFile::remove(m_filler); }

FailingCall::FailingCall(const QProcess& program, const QString& call, int first)
{
    m_tracer.start(u"strace"_s, {u"-f"_s, u"-o"_s, u"/dev/null"_s, u"-e"_s, u"trace="_s + call, u"-e"_s,
                                 u"inject=%1:error=ENOSPC:when=%2+"_s.arg(call, QString::number(first)),
                                 u"-p"_s, QString::number(program.processId())});
    QByteArray told;
    while (!told.contains("attached")) {
        m_tracer.setReadChannel(QProcess::StandardError);
        if (!m_tracer.waitForReadyRead(patienceMs))
            throw std::runtime_error("strace does not attach: " + told.toStdString());
        told += m_tracer.readAllStandardError();
    }
}

FailingCall::~FailingCall()
{
    if (const auto id = m_tracer.processId(); id > 0)
        ::kill(static_cast<pid_t>(id), SIGINT); // it lets go of the program
    m_tracer.waitForFinished(patienceMs);
}

QString FailingCall::fault()
{
    QProcess program;
    allowTracing(program);
    program.start(u"cat"_s, {});
    program.waitForStarted(patienceMs);
    QString found;
    try {
        const FailingCall attempt(program, u"fsync"_s);
    } catch (const std::runtime_error& failure) {
        found = QString::fromUtf8(failure.what()) +
                u"; install strace with .ci/install (in a container it takes the capability SYS_PTRACE)"_s;
    }
    program.kill();
    program.waitForFinished(patienceMs);
    return found;
}

} // namespace tilltest
