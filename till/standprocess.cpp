#include "till/standprocess.h"

#include "till/usageerror.h"

#include <QDeadlineTimer>

using namespace Qt::StringLiterals;

namespace till {

namespace {

constexpr int patience = 10'000; // milliseconds for the start, and again for the end

} // namespace

QString StandProcess::user() { return u"shop"_s; }

QString StandProcess::password() { return u"secret-of-the-shop"_s; }

StandProcess::StandProcess(const QString& program)
{
    auto environment = QProcessEnvironment::systemEnvironment();
    environment.insert(u"KYR_STAND_PASSWORD"_s, password()); // not an argument, for everybody sees those
    m_process.setProcessEnvironment(environment);
    // What it complains of is the administrator's to read; a pipe that nobody empties would stop it.
    m_process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    m_process.start(program, {u"--until-eof"_s, u"--port"_s, u"0"_s, u"--user"_s, user()});
    waitForUrl();
    if (m_url.isEmpty()) {
        const QString reason = m_process.error() == QProcess::FailedToStart ? m_process.errorString()
                               : m_process.state() == QProcess::NotRunning
                                   ? u"it ended with exit status %1"_s.arg(m_process.exitCode())
                                   : u"it did not say where it listens"_s;
        m_process.kill();
        m_process.waitForFinished(patience);
        throw UsageError(u"%1: the stand cannot be started: %2; name its program with --stand, or a service "
                         "with --server-url"_s.arg(program, reason));
    }
}

StandProcess::~StandProcess()
{
    m_process.closeWriteChannel();
    if (m_process.waitForFinished(patience))
        return;
    m_process.kill();
    m_process.waitForFinished(patience);
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
