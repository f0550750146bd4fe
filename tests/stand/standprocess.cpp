#include "tests/stand/standprocess.h"

#include <QDir>

#include <csignal>

using namespace Qt::StringLiterals;

namespace standtest {

namespace {

constexpr int patienceMs = 20'000;

} // namespace

StandProcess::StandProcess(const QStringList& arguments, const QByteArray& passwordInEnvironment)
{
    auto environment = QProcessEnvironment::systemEnvironment();
    environment.remove(u"KYR_STAND_PASSWORD"_s);
    if (!passwordInEnvironment.isEmpty())
        environment.insert(u"KYR_STAND_PASSWORD"_s, QString::fromUtf8(passwordInEnvironment));
    m_process.setProcessEnvironment(environment);
    if (m_errors.open())
        m_process.setStandardErrorFile(m_errors.fileName());
    m_process.start(QStringLiteral(STAND_PROGRAM), arguments);
}

StandProcess::~StandProcess()
{
    m_process.kill();
    m_process.waitForFinished(patienceMs);
}

QByteArray StandProcess::url()
{
    while (!m_process.canReadLine()) {
        if (!m_process.waitForReadyRead(patienceMs))
            return {};
    }
    const QByteArray before = "The stand listens on ";
    const auto line = m_process.readLine();
    if (!line.startsWith(before + "http://") || !line.endsWith("/\n"))
        return {};
    return line.mid(before.size()).chopped(2);
}

QByteArray StandProcess::errors()
{
    m_errors.seek(0);
    return m_errors.readAll();
}

void StandProcess::signal(int number) const
{
    // Of a stand that has ended the id is 0, which would mean this test and all its siblings.
    if (const auto id = m_process.processId(); id > 0)
        ::kill(static_cast<pid_t>(id), number);
}

qsizetype StandProcess::openFiles() const
{
    return QDir(u"/proc/%1/fd"_s.arg(m_process.processId())).entryList(QDir::System | QDir::Files).size();
}

std::optional<int> StandProcess::exitStatus()
{
    if (m_process.state() != QProcess::NotRunning && !m_process.waitForFinished(patienceMs))
        return std::nullopt;
    if (m_process.exitStatus() != QProcess::NormalExit || m_process.error() == QProcess::FailedToStart)
        return std::nullopt;
    return m_process.exitCode();
}

} // namespace standtest
