#pragma once

#include "till/cli/command.h"
#include "till/cli/console.h"
#include "till/setup/settings.h"

namespace till {

/// The data directory for these options; never empty.
QString dataDirectoryOf(const Options& options);

/// Whether a till has ever kept something in that folder: a tool that looks must not begin a file there.
bool keepsAnything(const QString& directory);

/// What the administrator's tools begin with: the settings, the log, a console. The log's lines go to the
/// standard error, from warning on unless told otherwise.
class Tool
{
public:
    /// Throws ConfigError or UsageError when the settings can't be used.
    explicit Tool(const Invocation& invocation);
    /// Forgets the data directory.
    ~Tool();
    Tool(const Tool&) = delete;
    Tool& operator=(const Tool&) = delete;

    /// Makes it the process's data directory. Throws UsageError when there is no such folder: a tool that
    /// looks makes none.
    void useDataDirectory();

    /// Goes on with these settings, but for the data directory, and in their log. Throws UsageError, and goes
    /// on as before, when the log file cannot be used.
    void take(const Options& anew, const Config& itsConfig);

    Options options;
    Config config;
    Console console;

private:
    LogFile m_logFile;
    ScreenLog m_screenLog;
};

/// The failure in English, with the host's own words behind it.
QString administratorsText(const std::exception& failure);

/// What to do about it, in English.
QString remedyOf(const std::exception& failure);

} // namespace till
