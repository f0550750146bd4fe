#pragma once

#include <QProcess>
#include <QString>

namespace till {

/// The stand-in for the loyalty service, as a process of its own on a free loopback port. It ends with this
/// object, and also when the till dies: it watches the pipe to its standard input.
class StandProcess
{
public:
    /// Returns when the stand listens. Throws UsageError when it does not within some seconds.
    explicit StandProcess(const QString& program);
    ~StandProcess();
    StandProcess(const StandProcess&) = delete;
    StandProcess& operator=(const StandProcess&) = delete;

    [[nodiscard]] QString url() const { return m_url; }
    /// What the stand asks for; good for nothing but this one process.
    static QString user();
    static QString password();

private:
    void waitForUrl();

    QProcess m_process;
    QString m_url;
};

} // namespace till
