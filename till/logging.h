#pragma once

#include <QString>

#include <functional>

namespace till {

enum class LogLevel { Debug, Info, Warning, Error };

/// "info" and so on.
QString levelText(LogLevel level);

struct LogLine
{
    LogLevel level;
    QString logger; ///< who wrote it: "kyrloyalty" is the plug-in
    QString text;
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

} // namespace till
