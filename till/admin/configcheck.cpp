#include "till/admin/commands.h"
#include "till/admin/tool.h"
#include "till/cli/usageerror.h"
#include "till/goods/goodsfile.h"
#include "till/setup/language.h"
#include "till/setup/settingkeys.h"
#include "till/setup/settingsreading.h"

#include <QFile>
#include <QJsonArray>
#include <QJsonObject>

using namespace Qt::StringLiterals;

namespace till {

namespace {

QString namedFile(const Invocation& invocation)
{
    QString file = invocation.arguments.value(0, invocation.options.configFile);
    if (file.isEmpty())
        throw UsageError(u"till: config check: which file? there is none at %1; name it"_s.arg(
            usualConfigFiles().join(u" or "_s)));
    QFile opened(file);
    if (!opened.open(QIODevice::ReadOnly))
        throw UsageError(u"till: %1: cannot be read: %2"_s.arg(file, opened.errorString()));
    return file;
}

/// What not every command meets at its start.
void checkFurther(SettingsReading& reading, const Options& options)
{
    try {
        const Language language(languageOf(reading.config));
    } catch (const UsageError& error) { // "Till:language, --language: what is wrong"
        reading.complain(keys::language, {QString::fromUtf8(error.what()).section(u": "_s, 1)});
    }
    if (reading.problems.isEmpty()) {
        if (const QString exposure = exposureOf(options); !exposure.isEmpty())
            reading.problems.append({.fault = {exposure, u"chmod 600 "_s + options.configFile}});
    }
    const QString goods = goodsFileOf(reading.config, options);
    if (goods.isEmpty())
        return;
    const QString problems = problemsText(goods, readGoodsFile(goods));
    for (const QString& problem : problems.split(u'\n', Qt::SkipEmptyParts))
        reading.complain(keys::goods, {problem});
}

QJsonObject json(const SettingsProblem& problem)
{
    return {{u"file"_s, problem.file},
            {u"line"_s, problem.line == 0 ? QJsonValue() : QJsonValue(problem.line)},
            {u"key"_s, problem.key},
            {u"text"_s, problem.fault.text},
            {u"remedy"_s, problem.fault.remedy}};
}

int run(const Invocation& invocation)
{
    Options options = invocation.options;
    options.configFile = namedFile(invocation);
    Console console(options.json);
    SettingsReading reading = readSettings(options);
    checkFurther(reading, options);
    QJsonArray problems;
    for (const SettingsProblem& problem : reading.problems) {
        problems.append(json(problem));
        console.line(problem.placedText(), Console::Colour::Red);
        if (!problem.fault.remedy.isEmpty())
            console.line(u"→ "_s + problem.fault.remedy);
    }
    if (problems.isEmpty())
        console.line(options.configFile + u": nothing is wrong"_s);
    console.value(QJsonDocument(QJsonObject{
        {u"ok"_s, problems.isEmpty()}, {u"file"_s, options.configFile}, {u"problems"_s, problems}}));
    return problems.isEmpty() ? exitWell : exitFailed;
}

const QString details =
    uR"(Reads the file, else the one that each start takes, goes on after each mistake, and tells each with
file, line, key and what to do; so too those of the files that it names: password and goods. Nothing
is started. What is beyond the file, the service for one, is the doctor's.

With --json: {"ok", "file", "problems"}; each problem is {"file", "line" (null: the file as a whole),
"key", "text", "remedy"}.)"_s;

} // namespace

Command configCheckCommand()
{
    return {
        .name = u"config check"_s,
        .arguments = u"[FILE]"_s,
        .most = 1,
        .about = u"Tell all that is wrong with a configuration."_s,
        .details = details,
        .examples = {{u"till config check /etc/kyr-loyalty/till.toml"_s, u"before the till is restarted"_s}},
        .statuses = {{0, u"nothing is wrong"_s},
                     {1, u"something is; the till would not start, or warn"_s},
                     {2, u"wrong usage, or the file cannot be read"_s}},
        .run = run};
}

} // namespace till
