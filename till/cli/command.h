#pragma once

#include "till/cli/options.h"

#include <QHash>
#include <QStringList>

namespace till {

constexpr int exitWell = 0;
constexpr int exitFailed = 1;
constexpr int exitMisused = 2;
constexpr int exitUnwritten = 3; ///< the standard output could not be written

/// A command with all that was said to it.
struct Invocation
{
    Options options;
    QStringList arguments;       ///< behind the command's name
    QHash<QString, QString> own; ///< its own options that were given, by name; a flag's value is empty

    [[nodiscard]] bool has(const QString& option) const { return own.contains(option); }
    /// A value that must be a whole number above 0; throws UsageError naming the option when it is not.
    [[nodiscard]] int number(const QString& option, int otherwise) const;
};

struct Example
{
    QString line; ///< as it is typed
    QString about;
};

struct ExitStatus
{
    int status;
    QString about;
};

/// A thing that the program does. To add one is to write its file, with a function that describes it, and to
/// name that function in its room's commands.h and in commands.cpp; help, completion and the refusal of what
/// is wrong come from here.
struct Command
{
    QString name;           ///< one word, or two: "queue list"
    QString arguments = {}; ///< as help shows them: "ID..."; empty: none
    int fewest = 0;         ///< arguments
    int most = 0;           ///< arguments; -1: any number
    QString missing = {};   ///< what to ask when there are too few: "which scenario?"
    QString about;          ///< one line
    QString details;        ///< paragraphs, and the members of its JSON; wrapped by hand at 100 columns
    QList<OptionKind> options = {};
    QList<Example> examples;
    QList<ExitStatus> statuses;
    /// Returns the exit status. What it throws is told on stderr and ends the program with exitMisused.
    int (*run)(const Invocation&);
    /// Whether it plays receipts for trying: it then takes no configuration but one that was named, so that
    /// nothing is tried on the customers of a machine that is set up.
    bool tries = false;
    /// Whether it needs a display: the application object is then made by `run`, not before it.
    bool graphical = false;
};

/// A program's table of them, in the order of help.
using Commands = QList<Command>;

/// The one of that name, or null.
const Command* findCommand(const Commands& commands, const QString& name);

/// The second words of the commands that begin with this word; empty when it is no group.
QStringList groupMembers(const Commands& commands, const QString& word);

} // namespace till
