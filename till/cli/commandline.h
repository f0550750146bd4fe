#pragma once

#include "till/cli/command.h"

#include <QStringList>

#include <variant>

namespace till {

/// All that the command line asks for is this text on the standard output.
struct Text
{
    QString text;
};

/// It asks for the versions; reading them needs an application object.
struct VersionsWanted
{};

/// A command and what it is called with.
struct Call
{
    const Command* command = nullptr; ///< of the program's table
    Invocation invocation;
};

/// Reads the arguments behind the program's name, and the environment. Needs no application object. Throws
/// UsageError, with one line that says what to do, when they are wrong.
std::variant<Call, Text, VersionsWanted> readCommandLine(const Commands& commands,
                                                         const QStringList& arguments);

/// What `till help` shows: of everything; of one command; of the commands that share a first word.
QString generalHelp(const Commands& commands);
QString commandHelp(const Command& command);
QString groupHelp(const Commands& commands, const QString& word);

} // namespace till
