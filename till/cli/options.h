#pragma once

#include "till/cli/logging.h"

#include <QList>
#include <QString>
#include <QStringList>

#include <optional>

namespace till {

/// An option of the command line: `--name`, or `--name VALUE`.
struct OptionKind
{
    QString name;
    QString value;         ///< what stands for its value in help, "FILE"; empty: it takes none
    QString about;         ///< English, for help
    QString letter = {};   ///< the short form, "q"; may be empty
    QString variable = {}; ///< the environment variable that says the same; the option goes over it
};

/// What every command is told. Option, environment variable, configuration file, default: the first that says
/// something counts.
struct Options
{
    QString configFile; ///< the one that was named, else the usual one; empty: none
    QString serverUrl;  ///< empty: as configured
    QString pluginFile;
    QString standProgram;
    QString dataDirectory; ///< empty: nobody named one
    QString logFile;       ///< empty: none
    QString language;      ///< of the cashier's texts; empty: as configured
    std::optional<LogLevel> logLevel;
    bool json = false;
    bool verbose = false;
    bool quiet = false;
};

/// Where a configuration that nobody names is looked for: the machine's file, then the user's own. The first
/// that is there is taken, and nothing is read of the other.
QStringList usualConfigFiles();

/// The options of every command, in the order of help.
const QList<OptionKind>& generalOptions();

/// What the environment says beyond the options: name and meaning, for help.
struct Variable
{
    QString name;
    QString about;
};
const QList<Variable>& furtherVariables();

/// Which log lines are shown on the screen: what the options say, else from `usual` on.
LogLevel screenLevel(const Options& options, LogLevel usual);
/// Which are written to the log file: what --log-level says, else from info on.
LogLevel fileLevel(const Options& options);

} // namespace till
