#include "host/core/terminalfrontend.h"
#include "host/utils/datadirectory.h"
#include "till/options.h"
#include "till/player.h"
#include "till/settings.h"
#include "till/shell.h"
#include "till/usageerror.h"

#include <QCoreApplication>
#include <QTextStream>

#include <unistd.h>

using namespace Qt::StringLiterals;

namespace {

constexpr int exitFailed = 1;
constexpr int exitMisused = 2;

std::unique_ptr<till::Reporter> reporterFor(const till::Options& options, QTextStream& out, QTextStream& err)
{
    if (options.json)
        return std::make_unique<till::JsonReporter>(out, options.verbose ? &err : nullptr);
    const bool colours = isatty(STDOUT_FILENO) == 1 && qEnvironmentVariableIsEmpty("NO_COLOR");
    return std::make_unique<till::TextReporter>(out, colours);
}

till::Parts partsOf(const till::Options& options)
{
    return {options.pluginFile, options.standProgram, options.dataDirectory};
}

int runFiles(const till::Options& options, const Config& config, till::Trace& trace, till::Reporter& reporter)
{
    QList<till::Scenario> scenarios; // all are read first: nothing is played beside a file with mistakes
    for (const QString& file : options.files)
        scenarios.append(till::readScenario(file, config));

    till::ScenarioClock clock;
    QList<till::Summary> summaries;
    bool allWell = true;
    for (const till::Scenario& scenario : scenarios) {
        till::Till till(partsOf(options), scenario.config, nullptr);
        const QString clockFile = utils::dataFile(u"scenario-clock"_s);
        clock.goOnFrom(clockFile);
        reporter.begin(scenario.name, scenario.fileName);
        reporter.preparations(trace.take());
        till::Player player(till, trace, reporter, &clock);
        for (const till::Step& step : scenario.steps)
            player.play(step);
        summaries.append(till::summaryOf(till));
        summaries.last().fileName = scenario.fileName;
        reporter.preparations(trace.take());
        reporter.end(summaries.last(), player.tally());
        clock.keepIn(clockFile);
        const bool agrees = summaries.last().differences.value_or(QStringList()).isEmpty();
        allWell = allWell && agrees && player.tally().failed == player.tally().allowed;
    }
    reporter.total(summaries);
    return allWell ? 0 : exitFailed;
}

int runShell(const till::Options& options, const Config& config, till::Trace& trace, till::Reporter& reporter,
             QTextStream& out, QTextStream& err)
{
    QTextStream in(stdin);
    QTextStream& talk = options.json ? err : out; // then only the steps' lines may go to the standard output
    TerminalFrontend terminal(in, talk);
    till::Till till(partsOf(options), config, &terminal);
    reporter.preparations(trace.take());
    till::Player player(till, trace, reporter, nullptr);
    till::Shell(in, talk, isatty(STDIN_FILENO) == 1).run(player);
    return 0;
}

int run(const QStringList& arguments)
{
    QTextStream out(stdout);
    QTextStream err(stderr);
    const auto read = till::readOptions(arguments);
    if (const auto* text = std::get_if<till::Text>(&read)) {
        out << text->text << Qt::endl;
        return 0;
    }
    const auto& options = std::get<till::Options>(read);
    Config config = till::loadSettings(options.configFile);
    if (!options.serverUrl.isEmpty())
        till::setServerUrl(config, options.serverUrl);

    till::Trace trace(options.verbose);
    const auto reporter = reporterFor(options, out, err);
    return options.command == till::Options::Command::Run
               ? runFiles(options, config, trace, *reporter)
               : runShell(options, config, trace, *reporter, out, err);
}

} // namespace

int main(int argc, char* argv[])
{
    const QCoreApplication application(argc, argv);
    QCoreApplication::setApplicationName(u"till"_s);
    QCoreApplication::setApplicationVersion(QStringLiteral(TILL_VERSION));
    try {
        return run(QCoreApplication::arguments());
    } catch (const std::exception& error) { // UsageError, ConfigError: the text says where and what
        QTextStream(stderr) << QString::fromUtf8(error.what()) << Qt::endl;
        return exitMisused;
    }
}
