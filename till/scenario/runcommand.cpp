#include "host/storage/datadirectory.h"
#include "till/audit/recording.h"
#include "till/scenario/commands.h"
#include "till/scenario/player.h"
#include "till/scenario/reporter.h"
#include "till/setup/parts.h"
#include "till/setup/settings.h"

using namespace Qt::StringLiterals;

namespace till {

namespace {

/// True when no step failed that may not, and the books agree.
bool play(const Scenario& scenario, const Options& options, Trace& trace, Reporter& reporter,
          ScenarioClock& clock, QList<Summary>& summaries)
{
    ScriptedFrontend cashier(nullptr);
    Till till(partsOf(options), scenario.config, cashier);
    const QString clockFile = u"scenario-clock"_s;
    clock.goOnFrom(storage::dataFile(clockFile));
    reporter.begin(scenario.name, scenario.fileName);
    reporter.preparations(trace.take());
    Player player({till, cashier}, trace, reporter, &clock);
    for (const Step& step : scenario.steps)
        player.play(step);
    summaries.append(summaryOf(till));
    summaries.last().fileName = scenario.fileName;
    reporter.preparations(trace.take());
    reporter.end(summaries.last(), player.tally());
    clock.keepIn(storage::dataFile(clockFile));
    const bool agrees = summaries.last().differences.value_or(QStringList()).isEmpty();
    return agrees && player.tally().failed == player.tally().allowed;
}

int run(const Invocation& invocation)
{
    Options options = invocation.options;
    const Config config = settingsOf(options);
    QList<Scenario> scenarios; // all are read first: nothing is played beside a file with mistakes
    for (const QString& file : invocation.arguments)
        scenarios.append(readScenario(file, config));

    QTextStream out(stdout);
    QTextStream err(stderr);
    const LogFile logFile(options.logFile, fileLevel(options));
    Trace trace(screenLevel(options, LogLevel::Info));
    warnOfExposure(options);
    const Recording recording(invocation.own.value(u"record"_s));
    const auto reporter = reporterFor(options, out, err);
    ScenarioClock clock;
    QList<Summary> summaries;
    bool allWell = true;
    for (const Scenario& scenario : scenarios)
        allWell = play(scenario, options, trace, *reporter, clock, summaries) && allWell;
    reporter->total(summaries);
    return allWell ? exitWell : exitFailed;
}

const QString details =
    uR"(Where nobody names a loyalty service, the stand is started for the time of each scenario. Without a
data directory each scenario has one of its own, which is removed behind it. No configuration is
read but one that is named.

Scenario files are JSON:
  { "name": "A known customer",
    "config": { "KYRLoyalty:timeout": 3 },
    "steps": [
      { "do": "openSale", "id": "R-1", "positions": [] },
      { "do": "identifyByCard", "card": "2000000000017", "mayFail": true } ] }
All steps are played, whatever fails. "config" goes over the options. The shell's "help" lists the
steps and their members. The clock of a scenario starts at the real time and goes ten minutes with
each receipt.

At the end of each file the books of its own stand are compared with the till's receipts, and a
table tells what was spent, earned (in points), queued and delivered.

With --json: one line for each step, one for each file's summary.)"_s;

} // namespace

Command runCommand()
{
    return {
        .name = u"run"_s,
        .arguments = u"FILE..."_s,
        .fewest = 1,
        .most = -1,
        .missing = u"which scenario?"_s,
        .about = u"Play scenario files, one after the other."_s,
        .details = details,
        .options = {recordOption()},
        .examples = {{u"till run scenarios/*.json"_s, u"a day at the till"_s},
                     {u"till run --config till.toml day.json"_s, u"at the service that the file names"_s}},
        .statuses = {{0, u"all went well"_s},
                     {1, u"a step failed that was not marked \"mayFail\", or the stand's books differ"_s},
                     {2, u"wrong usage, or a file, the plug-in or the stand cannot be used"_s}},
        .run = run,
        .tries = true};
}

} // namespace till
