#pragma once

#include <QString>
#include <QStringList>

#include <variant>

namespace till {

/// What the command line asks for.
struct Options
{
    enum class Command { Run, Shell };

    Command command = Command::Run;
    QStringList files;  ///< scenarios to run
    QString configFile; ///< empty: none
    QString serverUrl;  ///< empty: as configured
    QString pluginFile;
    QString standProgram;
    QString dataDirectory; ///< empty: a new one for each scenario, or for the shell
    bool json = false;
    bool verbose = false;
};

/// All that the command line asks for is this text on the standard output.
struct Text
{
    QString text;
};

/// Needs the application object. Throws UsageError when the command line is wrong.
std::variant<Options, Text> readOptions(const QStringList& arguments);

} // namespace till
