#include "till/cli/commandline.h"

#include "till/cli/serviceaddress.h"
#include "till/cli/suggestion.h"
#include "till/cli/usageerror.h"

#include <QCommandLineParser>
#include <QFile>

#include <algorithm>
#include <cerrno>

#include <sys/stat.h>

using namespace Qt::StringLiterals;

namespace till {

namespace {

QCommandLineOption optionOf(const OptionKind& kind)
{
    const QStringList names =
        kind.letter.isEmpty() ? QStringList{kind.name} : QStringList{kind.letter, kind.name};
    return {names, kind.about, kind.value};
}

void add(QCommandLineParser& parser, const QList<OptionKind>& kinds)
{
    for (const OptionKind& kind : kinds)
        parser.addOption(optionOf(kind));
}

/// Every option of every command, each once: enough to tell options from arguments.
QList<OptionKind> allOptions(const Commands& commands)
{
    QList<OptionKind> all = generalOptions();
    for (const Command& command : commands) {
        for (const OptionKind& kind : command.options) {
            const auto same = [&kind](const OptionKind& known) { return known.name == kind.name; };
            if (std::none_of(all.cbegin(), all.cend(), same))
                all.append(kind);
        }
    }
    return all;
}

QStringList namesOf(const QList<OptionKind>& kinds)
{
    QStringList names;
    for (const OptionKind& kind : kinds)
        names.append(u"--"_s + kind.name);
    return names;
}

[[noreturn]] void fail(const QString& text, const QString& help)
{
    throw UsageError(u"till: %1; see till %2"_s.arg(text, help));
}

void parse(QCommandLineParser& parser, const QStringList& arguments, const QList<OptionKind>& kinds,
           const QString& help)
{
    add(parser, kinds);
    if (parser.parse(QStringList{u"till"_s} + arguments))
        return;
    const QStringList unknown = parser.unknownOptionNames();
    if (unknown.isEmpty())
        fail(parser.errorText().chopped(1), help);
    const QString dashes = unknown.first().size() == 1 ? u"-"_s : u"--"_s;
    const QString typed = dashes + unknown.first();
    const QString hint = suggestion(typed, namesOf(kinds));
    fail(u"unknown option '%1'%2"_s.arg(typed, hint.contains(u"did you mean"_s) ? hint : QString()), help);
}

QStringList firstWords(const Commands& commands)
{
    QStringList words;
    for (const Command& command : commands) {
        const QString word = command.name.section(u' ', 0, 0);
        if (!words.contains(word))
            words.append(word);
    }
    return words << u"help"_s;
}

[[noreturn]] void refuseCommand(const Commands& commands, const QString& word)
{
    const QString hint = suggestion(word, firstWords(commands));
    fail(u"unknown command '%1'%2"_s.arg(word, hint), u"--help"_s);
}

/// The command that the words begin with. Throws when they name none.
const Command& commandOf(const Commands& commands, const QStringList& words)
{
    if (words.isEmpty())
        fail(u"a command is missing: expected %1"_s.arg(firstWords(commands).join(u", "_s)), u"--help"_s);
    if (const Command* command = findCommand(commands, words.first()))
        return *command;
    const QStringList members = groupMembers(commands, words.first());
    if (members.isEmpty())
        refuseCommand(commands, words.first());
    if (words.size() < 2)
        fail(u"%1: what about it? expected %2"_s.arg(words.first(), members.join(u", "_s)),
             u"help "_s + words.first());
    if (const Command* command = findCommand(commands, words[0] + u' ' + words[1]))
        return *command;
    fail(u"%1: unknown command '%2'%3"_s.arg(words[0], words[1], suggestion(words[1], members)),
         u"help "_s + words.first());
}

QString helpFor(const Commands& commands, const QStringList& words)
{
    if (words.isEmpty())
        return generalHelp(commands);
    if (words.first() == u"help"_s)
        return helpFor(commands, words.sliced(1));
    if (words.size() == 1 && !groupMembers(commands, words.first()).isEmpty())
        return groupHelp(commands, words.first());
    return commandHelp(commandOf(commands, words));
}

QString checkedUrl(const QString& text)
{
    if (const auto fault = faultOfAddress(text))
        fail(u"--server-url: "_s + fault->toString(), u"--help"_s);
    return text;
}

LogLevel checkedLevel(const QString& text)
{
    const auto level = levelNamed(text);
    if (!level)
        fail(u"--log-level: expected debug, info, warning or error instead of '%1'"_s.arg(text), u"--help"_s);
    return *level;
}

/// The value of a general option, else of its variable; empty: neither says anything.
QString said(const QCommandLineParser& parser, const QString& name)
{
    if (parser.isSet(name))
        return parser.value(name);
    for (const OptionKind& kind : generalOptions()) {
        if (kind.name == name && !kind.variable.isEmpty())
            return qEnvironmentVariable(kind.variable.toLatin1().constData());
    }
    return {};
}

/// One that may be there and not be looked at is not passed over: whoever reads it is told.
bool isThere(const QString& file)
{
    struct stat status = {};
    return lstat(QFile::encodeName(file).constData(), &status) == 0 || (errno != ENOENT && errno != ENOTDIR);
}

QString configFileOf(const QCommandLineParser& parser, bool tries)
{
    QString named = said(parser, u"config"_s);
    if (parser.isSet(u"config"_s) || !named.isEmpty() || tries)
        return named;
    const QStringList usual = usualConfigFiles();
    const auto found = std::find_if(usual.cbegin(), usual.cend(), isThere);
    return found == usual.cend() ? QString() : *found;
}

Options readOptions(const QCommandLineParser& parser, bool tries)
{
    Options options;
    options.configFile = configFileOf(parser, tries);
    options.language = said(parser, u"language"_s);
    options.dataDirectory = said(parser, u"data-dir"_s);
    if (parser.isSet(u"data-dir"_s) && options.dataDirectory.isEmpty())
        fail(u"--data-dir: expected a folder"_s, u"--help"_s);
    const QString url = said(parser, u"server-url"_s);
    if (parser.isSet(u"server-url"_s) || !url.isEmpty())
        options.serverUrl = checkedUrl(url);
    options.pluginFile = said(parser, u"plugin"_s);
    options.standProgram = said(parser, u"stand"_s);
    options.logFile = said(parser, u"log-file"_s);
    const QString level = said(parser, u"log-level"_s);
    if (parser.isSet(u"log-level"_s) || !level.isEmpty())
        options.logLevel = checkedLevel(level);
    options.json = parser.isSet(u"json"_s);
    options.verbose = parser.isSet(u"verbose"_s);
    options.quiet = parser.isSet(u"quiet"_s);
    return options;
}

void checkArguments(const Command& command, const QStringList& arguments)
{
    const QString help = u"help "_s + command.name;
    if (arguments.size() < command.fewest)
        fail(command.name + u": "_s + command.missing, help);
    if (command.most >= 0 && arguments.size() > command.most)
        fail(u"%1: unexpected '%2'"_s.arg(command.name, arguments[command.most]), help);
}

} // namespace

int Invocation::number(const QString& option, int otherwise) const
{
    if (!has(option))
        return otherwise;
    bool whole = false;
    const int value = own.value(option).toInt(&whole);
    if (!whole || value < 1)
        throw UsageError(
            u"till: --%1: expected a whole number above 0 instead of '%2'"_s.arg(option, own.value(option)));
    return value;
}

std::variant<Call, Text, VersionsWanted> readCommandLine(const Commands& commands,
                                                         const QStringList& arguments)
{
    QCommandLineParser first;
    parse(first, arguments, allOptions(commands), u"--help"_s);
    const QStringList words = first.positionalArguments();
    if (first.isSet(u"version"_s))
        return VersionsWanted{};
    if (first.isSet(u"help"_s) || words.value(0) == u"help"_s)
        return Text{helpFor(commands, words)};

    const Command& command = commandOf(commands, words);
    QCommandLineParser second;
    parse(second, arguments, generalOptions() + command.options, u"help "_s + command.name);
    Call call{&command, {readOptions(second, command.tries), words.sliced(command.name.count(u' ') + 1), {}}};
    for (const OptionKind& kind : command.options) {
        if (second.isSet(kind.name))
            call.invocation.own.insert(kind.name, kind.value.isEmpty() ? QString() : second.value(kind.name));
    }
    checkArguments(command, call.invocation.arguments);
    return call;
}

} // namespace till
