#include "till/cli/commandline.h"

#include <algorithm>

using namespace Qt::StringLiterals;

namespace till {

namespace {

struct Row
{
    QString left;
    QString right;
};

/// Two columns, below a heading of their own.
QString section(const QString& heading, const QList<Row>& rows)
{
    if (rows.isEmpty())
        return {};
    qsizetype width = 0;
    for (const Row& row : rows)
        width = std::max(width, row.left.size());
    QString text = u'\n' + heading + u":\n"_s;
    for (const Row& row : rows)
        text += u"  "_s + row.left.leftJustified(width) + u"  "_s + row.right + u'\n';
    return text;
}

QString signature(const Command& command)
{
    return command.arguments.isEmpty() ? command.name : command.name + u' ' + command.arguments;
}

QList<Row> commandRows(const Commands& commands, const QString& group)
{
    QList<Row> rows;
    for (const Command& command : commands) {
        if (group.isEmpty() || command.name.startsWith(group + u' '))
            rows.append({signature(command), command.about});
    }
    return rows;
}

QList<Row> optionRows(const QList<OptionKind>& options)
{
    QList<Row> rows;
    for (const OptionKind& option : options) {
        QString left = option.letter.isEmpty() ? QString() : u"-%1, "_s.arg(option.letter);
        left += u"--"_s + option.name;
        if (!option.value.isEmpty())
            left += u' ' + option.value;
        rows.append({left, option.about});
    }
    return rows;
}

QList<Row> variableRows()
{
    QList<Row> rows;
    for (const OptionKind& option : generalOptions()) {
        if (!option.variable.isEmpty())
            rows.append({option.variable, u"as --"_s + option.name});
    }
    for (const Variable& variable : furtherVariables())
        rows.append({variable.name, variable.about});
    return rows;
}

QList<Row> statusRows(const QList<ExitStatus>& statuses)
{
    QList<Row> rows;
    for (const ExitStatus& status : statuses)
        rows.append({QString::number(status.status), status.about});
    return rows;
}

} // namespace

QString generalHelp(const Commands& commands)
{
    const QString usage =
        u"Usage: till COMMAND [OPTION]... [ARGUMENT]...\n\n"
        "A till for the loyalty plug-in: plays receipts with it, delivers what could not reach the service,\n"
        "and shows what became of each receipt. `till help COMMAND` explains a command.\n"_s;
    return (usage + section(u"Commands"_s, commandRows(commands, {})) +
            section(u"Options of every command"_s, optionRows(generalOptions())) +
            section(u"Environment"_s, variableRows()) +
            u"\nAn option goes over the environment, that over the configuration file, that over the default.\n"_s +
            section(u"Exit status"_s,
                    {{u"0"_s, u"all went well"_s},
                     {u"1"_s, u"something went wrong, or was found wrong; each command says what"_s},
                     {u"2"_s, u"wrong usage, or a file, the plug-in or a service cannot be used"_s},
                     {u"3"_s, u"the standard output cannot be written; 141 when its reader went away"_s}}))
        .trimmed();
}

QString commandHelp(const Command& command)
{
    QString text = u"Usage: till %1 [OPTION]...\n\n%2\n"_s.arg(signature(command), command.about);
    if (!command.details.isEmpty())
        text += u'\n' + command.details + u'\n';
    QList<Row> examples;
    for (const Example& example : command.examples)
        examples.append({example.line, example.about});
    text += section(u"Options"_s, optionRows(command.options)) +
            section(u"Options of every command"_s, optionRows(generalOptions())) +
            section(u"Examples"_s, examples) + section(u"Exit status"_s, statusRows(command.statuses));
    return text.trimmed();
}

QString groupHelp(const Commands& commands, const QString& word)
{
    return (u"Usage: till %1 COMMAND [OPTION]... [ARGUMENT]...\n"_s.arg(word) +
            section(u"Commands"_s, commandRows(commands, word)) +
            u"\n`till help %1 COMMAND` explains one."_s.arg(word))
        .trimmed();
}

} // namespace till
