#include "till/admin/doctor.h"

#include "host/shop/schema.h"
#include "host/storage/datadirectory.h"
#include "till/admin/commands.h"
#include "till/admin/place.h"
#include "till/admin/tool.h"
#include "till/cli/texttable.h"
#include "till/cli/usageerror.h"
#include "till/setup/hostobjects.h"
#include "till/setup/parts.h"
#include "till/setup/pluginhost.h"
#include "till/setup/settingkeys.h"
#include "till/setup/shopsettings.h"

#include <QFileInfo>
#include <QJsonArray>
#include <QLibraryInfo>

using namespace Qt::StringLiterals;

namespace till {

namespace {

using State = Finding::State;

Console::Colour colourOf(State state)
{
    return state == State::Ok        ? Console::Colour::Green
           : state == State::Warning ? Console::Colour::Yellow
                                     : Console::Colour::Red;
}

bool isWell(const QList<Finding>& findings)
{
    return std::all_of(findings.begin(), findings.end(),
                       [](const Finding& finding) { return finding.state == State::Ok; });
}

bool hasProblem(const SettingsReading& reading, const QString& key)
{
    return std::any_of(reading.problems.begin(), reading.problems.end(),
                       [&key](const SettingsProblem& problem) { return problem.key == key; });
}

int run(const Invocation& invocation)
{
    Console console(invocation.options.json);
    // What the plug-in says while it starts is in its own finding.
    const ScreenLog log(screenLevel(invocation.options, LogLevel::Error));
    const QList<Finding> findings =
        isOfShop(invocation) ? examineWholeShop(invocation.options) : examine(invocation.options);
    console.value(findingsJson(findings));
    for (const Finding& finding : findings) {
        const QString heading = stateText(finding.state).leftJustified(8) + finding.check.leftJustified(14);
        const QStringList lines = finding.text.split(u'\n');
        for (const QString& line : lines)
            console.line((&line == &lines.first() ? heading : QString(heading.size(), u' ')) + line,
                         colourOf(finding.state));
        if (!finding.remedy.isEmpty())
            console.line(QString(heading.size(), u' ') + u"→ "_s + finding.remedy);
    }
    return isWell(findings) ? exitWell : exitFailed;
}

const QString details =
    uR"(Looks at the configuration, the way to the service (name, connection, TLS, credentials, clock),
the files of goods and log, the data directory, the disk, the store, all of which is read, each
receipt and message in it, the queue, the shop's database and the plug-in, and goes on after each failure. Changes
nothing. Asks the service for the cards of a phone that nobody has, with the credentials and
without; only an answer in the service's form counts. A store found damaged is set aside by the
next start.

With --shop it looks at the configuration, the way to the service, the shop's database, whether more than
one server has each commit, and its queue.

With --json: {"ok", "findings"}; each finding is {"check", "state" ("ok", "warning" or "problem"),
"text", "remedy"}.)"_s;

} // namespace

QJsonDocument findingsJson(const QList<Finding>& findings)
{
    QJsonArray list;
    for (const Finding& finding : findings)
        list.append(QJsonObject{{u"check"_s, finding.check},
                                {u"state"_s, stateText(finding.state)},
                                {u"text"_s, finding.text},
                                {u"remedy"_s, finding.remedy}});
    return QJsonDocument(QJsonObject{{u"ok"_s, isWell(findings)}, {u"findings"_s, list}});
}

QString stateText(Finding::State state)
{
    switch (state) {
    case State::Ok:
        return u"ok"_s;
    case State::Warning:
        return u"warning"_s;
    case State::Problem:
        return u"problem"_s;
    }
    return {};
}

QList<Finding> examineConfiguration(const Options& options, const SettingsReading& reading)
{
    QList<Finding> findings;
    const QString usual = u"mend it there; till config check tells whether all is well"_s;
    for (const SettingsProblem& problem : reading.problems)
        findings.append({u"configuration"_s, State::Problem, problem.placedText(),
                         problem.fault.remedy.isEmpty() ? usual : problem.fault.remedy});
    if (findings.isEmpty()) {
        const QString file =
            options.configFile.isEmpty()
                ? u"none at %1; all keys have their defaults"_s.arg(usualConfigFiles().join(u" or "_s))
                : options.configFile;
        const QString exposure = exposureOf(options);
        findings.append(exposure.isEmpty() ? Finding{u"configuration"_s, State::Ok, file}
                                           : Finding{u"configuration"_s, State::Warning, exposure,
                                                     u"chmod 600 "_s + options.configFile});
    }
    if (!hasProblem(reading, keys::ratio)) {
        const QStringList parts = reading.config.getString(keys::ratio, u"1:1"_s).split(u':');
        findings.append(
            {u"ratio"_s, State::Ok, u"%1 points are worth %2 of money"_s.arg(parts[0], parts[1])});
    }
    return findings;
}

Finding examinePlugin(const Options& options, const Config& config)
{
    const QString file = partsOf(options).pluginFile;
    try {
        hostObject<Config>() = config;
        const PluginHost plugin(file);
        return {u"plug-in"_s, State::Ok,
                u"%1, built for Qt %2, runs on Qt %3"_s.arg(file, plugin.builtFor().toString(),
                                                            QLibraryInfo::version().toString())};
    } catch (const std::exception& failure) {
        return {u"plug-in"_s, State::Problem, administratorsText(failure),
                u"name a fitting one with --plugin"_s};
    }
}

QList<Finding> examineShop(const Config& config)
{
    const QString remedy = u"see docs/shop.md"_s;
    try {
        const auto shop = shopOf(config);
        if (!shop)
            return {};
        shop::Connection database(shop->database);
        requirePrepared(database);
        return {{u"shop"_s, State::Ok, u"till %1 of the shop in %2"_s.arg(shop->till, database.where())}};
    } catch (const UsageError& failure) {
        return {{u"shop"_s, State::Problem, QString::fromUtf8(failure.what()), remedy}};
    } catch (const shop::DatabaseError& failure) {
        return {{u"shop"_s, State::Problem, failure.tr().ru(), remedy}};
    }
}

QList<Finding> examine(const Options& given)
{
    Options options = given;
    const SettingsReading reading = readSettings(options);
    const Config& config = reading.config;
    QList<Finding> findings = examineConfiguration(options, reading);
    if (namesService(config) || !hasProblem(reading, keys::serverUrl))
        findings += examineService(config);
    findings.append(examineGoods(goodsFileOf(config, options)));
    findings.append(examineLog(options.logFile));
    const QString path = dataDirectoryOf(options);
    const bool isThere = QFileInfo(path).isDir(); // naming it is enough to have it made
    storage::setDataDirectory(isThere ? path : QString());
    findings += examineDirectory(path);
    if (isThere) {
        findings.append(examineStore(path));
        findings += examineContents(path);
        findings += examineQueue(config, path);
    }
    findings += examineShop(config);
    if (isThere)
        findings += examineStuck(config, path);
    findings.append(examinePlugin(options, config));
    storage::setDataDirectory({});
    return findings;
}

Command doctorCommand()
{
    return {.name = u"doctor"_s,
            .about = u"Look for what is wrong, and say how to mend it."_s,
            .details = details,
            .options = {shopOption()},
            .examples = {{u"till doctor --config till.toml"_s, u"of that till"_s},
                         {u"till doctor --shop"_s, u"of the shop's database and its queue"_s},
                         {u"till doctor --json | jq -r '.findings[] | select(.state != \"ok\") | .text'"_s,
                          u"for a monitor"_s}},
            .statuses = {{0, u"all is well"_s},
                         {1, u"a warning or a problem was found"_s},
                         {2, u"wrong usage"_s}},
            .run = run};
}

} // namespace till
