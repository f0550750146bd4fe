#pragma once

#include <QString>

#include <atomic>
#include <functional>
#include <memory>
#include <optional>

namespace till {

enum class LogLevel { Debug, Info, Warning, Error };

/// "info" and so on.
QString levelText(LogLevel level);
/// The level of that name; nothing when there is none.
std::optional<LogLevel> levelNamed(const QString& name);

struct LogLine
{
    LogLevel level;
    QString logger;       ///< who wrote it: "kyrloyalty" is the plug-in
    QString text;         ///< cards and phones masked, but where the form of the whole text is settled
    QString receipt = {}; ///< whose line it is, its number; empty: nobody's
};

/// While it lives, every log line of the process goes to the sink and nowhere else. The sink is called on the
/// thread that logs, and must not log. One at a time.
class LogCapture
{
public:
    explicit LogCapture(const std::function<void(const LogLine&)>& sink);
    ~LogCapture();
    LogCapture(const LogCapture&) = delete;
    LogCapture& operator=(const LogCapture&) = delete;
};

/// While it lives, log lines from `least` on are also appended to a file, with time, level and logger. Lines
/// reach it only while a LogCapture lives. When the file was moved away or removed, as by who rotates logs,
/// the next line begins it anew. One at a time.
class LogFile
{
public:
    /// Makes the file, for its owner alone (0600), when it is missing. An empty name is no file. Throws
    /// UsageError when it can't be written, or is no plain file, or others may read it.
    LogFile(const QString& fileName, LogLevel least);
    ~LogFile();
    LogFile(const LogFile&) = delete;
    LogFile& operator=(const LogFile&) = delete;

    /// Goes on in that file, made like the first one. Throws UsageError as that does, and goes on as before.
    static void reopen(const QString& fileName, LogLevel least);
};

/// While it lives, log lines from `least` on go to the standard error. One at a time; not beside a Trace.
class ScreenLog
{
public:
    explicit ScreenLog(LogLevel least);

    /// From now on, lines from that level on.
    void setLeast(LogLevel least) { m_least = least; }

private:
    std::atomic<LogLevel> m_least;
    LogCapture m_capture;
};

} // namespace till
