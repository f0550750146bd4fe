#pragma once

#include <QByteArray>
#include <QProcess>
#include <QStringList>
#include <QTemporaryFile>

#include <optional>

namespace standtest {

/// The stand as another process.
class StandProcess
{
public:
    explicit StandProcess(const QStringList& arguments = {}, const QByteArray& passwordInEnvironment = {});
    /// Kills a stand that still runs.
    ~StandProcess();
    Q_DISABLE_COPY_MOVE(StandProcess)

    /// Waits for the line that says where it listens: "http://127.0.0.1:PORT", or empty when it ended
    /// instead.
    QByteArray url();

    [[nodiscard]] qint64 id() const { return m_process.processId(); }
    void signal(int number) const;
    [[nodiscard]] qsizetype openFiles() const; ///< Connections among them.
    void closeInput() { m_process.closeWriteChannel(); }

    /// Waits for the end by itself: its exit status, or nothing when it crashed or does not end.
    std::optional<int> exitStatus();

    /// What it wrote, after its end.
    QByteArray output() { return m_process.readAllStandardOutput(); }
    QByteArray errors();

private:
    QTemporaryFile m_errors; ///< No pipe, which would stop a stand that writes more than it holds.
    QProcess m_process;
};

} // namespace standtest
