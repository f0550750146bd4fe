#pragma once

#include <QProcess>
#include <QString>

namespace till {

/// How a stand is to be started.
struct StandSetup
{
    QString program;
    QString dataFile; ///< keeps its cards and points
    QString logFile;  ///< takes what it complains of
    QString ratio;    ///< points to money, "10:1"; empty: the stand's own
    int port = 0;     ///< 0: any free one
};

/// The stand-in for the loyalty service, as a process of its own on a loopback port. It ends with this
/// object, and also when the till dies: it watches the pipe to its standard input.
class StandProcess
{
public:
    /// Returns when the stand listens. Throws UsageError when it does not within some seconds.
    explicit StandProcess(const StandSetup& setup);
    /// What the stand complained of goes to stderr, but for the codes that it "sends".
    ~StandProcess();
    StandProcess(const StandProcess&) = delete;
    StandProcess& operator=(const StandProcess&) = delete;

    [[nodiscard]] QString url() const { return m_url; }
    [[nodiscard]] int port() const;
    /// What the stand asks for; good for nothing but this one process.
    static QString user();
    static QString password();

private:
    void waitForUrl();
    void stop();
    void tellComplaints() const;

    QString m_logFile;
    QProcess m_process;
    QString m_url;
};

} // namespace till
