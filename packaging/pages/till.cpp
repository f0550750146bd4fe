// Fills a page's template from the till's table of commands: the manual, the completion. So a command is
// described once, where it is written.
//   till_manuals manual|completion TEMPLATE
#include "packaging/pages/page.h"
#include "till/commands.h"

#include <QMap>

using namespace Qt::StringLiterals;
using pages::Places;
using pages::plain;
using pages::sentences;

namespace {

/// Paragraphs; lines that are set in stay as they are.
QStringList paragraphs(const QString& text)
{
    QStringList lines;
    bool isLiteral = false;
    for (const QString& line : text.split(u'\n')) {
        if (line.startsWith(u' ') != isLiteral) {
            isLiteral = !isLiteral;
            lines.append(isLiteral ? u".Bd -literal"_s : u".Ed"_s);
        }
        lines.append(line.isEmpty() ? u".Pp"_s : isLiteral ? plain(line) : sentences(line));
    }
    if (isLiteral)
        lines.append(u".Ed"_s);
    return lines;
}

QStringList optionEntries(const QList<till::OptionKind>& options)
{
    QStringList lines;
    for (const till::OptionKind& option : options) {
        QStringList names{option.name};
        if (!option.letter.isEmpty())
            names.prepend(option.letter);
        lines << pages::optionEntry(names, option.value, option.about);
    }
    return lines;
}

QStringList commandEntry(const till::Command& command)
{
    QStringList lines{u".It Cm "_s + command.name};
    QString arguments = command.arguments.toLower().replace(u"..."_s, u" ..."_s);
    if (arguments.startsWith(u'['))
        lines.first() += u" Op Ar "_s + arguments.sliced(1).chopped(1);
    else if (!arguments.isEmpty())
        lines.first() += u" Ar "_s + arguments;
    lines << sentences(command.about);
    if (!command.details.isEmpty())
        lines << u".Pp"_s << paragraphs(command.details);
    if (!command.options.isEmpty())
        lines << u".Bl -tag -width Ds"_s << optionEntries(command.options) << u".El"_s;
    lines << u".Pp"_s << u"Exit status:"_s << u".Bl -tag -width Ds -compact"_s;
    for (const till::ExitStatus& status : command.statuses)
        lines << u".It %1"_s.arg(status.status) << sentences(status.about);
    return lines << u".El"_s;
}

Places manual()
{
    Places places{{u"OPTIONS"_s, optionEntries(till::generalOptions())}};
    for (const till::Command& command : till::commands())
        places[u"COMMANDS"_s] += commandEntry(command);
    QStringList& variables = places[u"VARIABLES"_s];
    for (const till::OptionKind& option : till::generalOptions()) {
        if (!option.variable.isEmpty())
            variables << u".It Ev "_s + option.variable << u"as"_s << u".Fl \\-%1 ."_s.arg(option.name);
    }
    for (const till::Variable& variable : till::furtherVariables())
        variables << u".It Ev "_s + variable.name << sentences(variable.about);
    return places;
}

QString optionNames(const QList<till::OptionKind>& options)
{
    QStringList names;
    for (const till::OptionKind& option : options)
        names.append(u"--"_s + option.name);
    return names.join(u' ');
}

Places completion()
{
    QStringList words;
    QStringList own;
    QMap<QString, QStringList> members;
    QStringList valued;
    QHash<QString, QStringList> takers; // by what stands for the value: FILE, DIR, LEVEL
    QList<till::OptionKind> options = till::generalOptions();
    for (const till::Command& command : till::commands()) {
        const QStringList name = command.name.split(u' ');
        words.append(name.first());
        if (name.size() > 1)
            members[name.first()].append(name.last());
        if (!command.options.isEmpty())
            own.append(u"    \"%1\") echo \"%2\" ;;"_s.arg(command.name, optionNames(command.options)));
        options += command.options;
    }
    for (const till::OptionKind& option : options) {
        if (option.value.isEmpty())
            continue;
        QStringList names{u"--"_s + option.name};
        if (!option.letter.isEmpty())
            names.append(u'-' + option.letter);
        valued += names;
        takers[option.value] += names;
    }
    words.append(u"help"_s);
    words.removeDuplicates();
    valued.removeDuplicates();
    QStringList groups;
    for (auto group = members.cbegin(); group != members.cend(); ++group)
        groups.append(u"    %1) echo \"%2\" ;;"_s.arg(group.key(), group->join(u' ')));
    return {{u"WORDS"_s, {words.join(u' ')}},
            {u"OPTIONS"_s, {optionNames(till::generalOptions())}},
            {u"MEMBERS"_s, groups},
            {u"OWN"_s, own},
            {u"VALUED"_s, pages::alternatives(valued)},
            {u"FILE"_s, pages::alternatives(takers[u"FILE"_s])},
            {u"DIR"_s, pages::alternatives(takers[u"DIR"_s])},
            {u"LEVEL"_s, pages::alternatives(takers[u"LEVEL"_s])}};
}

} // namespace

int main(int argc, char** argv)
{
    const QList<QByteArray> arguments(argv, argv + argc);
    return pages::print(arguments.value(2), arguments.value(1) == "manual" ? manual() : completion());
}
