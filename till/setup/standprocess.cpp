#include "till/setup/standprocess.h"

#include "host/utils/printable.h"
#include "till/cli/usageerror.h"

#include <QDeadlineTimer>
#include <QFile>
#include <QTextStream>
#include <QUrl>

using namespace Qt::StringLiterals;

namespace till {

namespace {

constexpr int patience = 10'000; // milliseconds for the start, and again for the end

QStringList argumentsOf(const StandSetup& setup)
{
    QStringList arguments{u"--until-eof"_s, u"--port"_s, QString::number(setup.port), u"--user"_s,
                          StandProcess::user(), u"--data"_s, setup.dataFile,
                          // known beforehand, so that a scenario can enter it
                          u"--sms-code"_s, u"1234"_s};
    if (!setup.ratio.isEmpty())
        arguments += {u"--ratio"_s, setup.ratio};
    return arguments;
}

} // namespace

QString StandProcess::user() { return u"shop"_s; }

QString StandProcess::password() { return u"secret-of-the-shop"_s; }

StandProcess::StandProcess(const StandSetup& setup)
    : m_logFile(setup.logFile)
{
    auto environment = QProcessEnvironment::systemEnvironment();
    environment.insert(u"KYR_STAND_PASSWORD"_s, password()); // not an argument, for everybody sees those
    m_process.setProcessEnvironment(environment);
    // A pipe that nobody empties would stop it.
    m_process.setStandardErrorFile(m_logFile);
    m_process.start(setup.program, argumentsOf(setup));
    waitForUrl();
    if (m_url.isEmpty()) {
        const QString reason = m_process.error() == QProcess::FailedToStart ? m_process.errorString()
                               : m_process.state() == QProcess::NotRunning
                                   ? u"it ended with exit status %1"_s.arg(m_process.exitCode())
                                   : u"it did not say where it listens"_s;
        m_process.kill();
        m_process.waitForFinished(patience);
        tellComplaints();
        throw UsageError(u"%1: the stand cannot be started: %2; name its program with --stand, or a service "
                         "with --server-url"_s.arg(setup.program, reason));
    }
}

StandProcess::~StandProcess()
{
    stop();
    tellComplaints();
}

int StandProcess::port() const { return QUrl(m_url).port(); }

void StandProcess::stop()
{
    m_process.closeWriteChannel();
    if (m_process.waitForFinished(patience))
        return;
    m_process.kill();
    m_process.waitForFinished(patience);
}

void StandProcess::tellComplaints() const
{
    QFile log(m_logFile);
    if (!log.open(QIODevice::ReadOnly))
        return;
    QTextStream err(stderr);
    while (!log.atEnd()) {
        const QString line = QString::fromUtf8(log.readLine());
        if (!line.startsWith(u"stand: code "_s))
            err << utils::printableLines(line);
    }
}

void StandProcess::waitForUrl()
{
    const QString announcement = u"The stand listens on "_s;
    const QDeadlineTimer deadline(patience);
    while (m_url.isEmpty()) {
        const auto left = static_cast<int>(deadline.remainingTime());
        if (!m_process.canReadLine() && (left <= 0 || !m_process.waitForReadyRead(left)))
            return;
        while (m_url.isEmpty() && m_process.canReadLine()) {
            const QString line = QString::fromUtf8(m_process.readLine()).trimmed();
            if (line.startsWith(announcement))
                m_url = line.sliced(announcement.size());
        }
    }
}

} // namespace till
