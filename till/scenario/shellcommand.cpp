#include "till/scenario/reporter.h"
#include "till/scenario/shell.h"
#include "till/setup/parts.h"

#include "host/core/terminalfrontend.h"
#include "host/queue/deliveryworker.h"
#include "host/utils/basicexception.h"
#include "till/audit/queuewarnings.h"
#include "till/audit/recording.h"
#include "till/checkout/deliverynow.h"
#include "till/scenario/commands.h"
#include "till/setup/hostobjects.h"
#include "till/setup/settings.h"

#include <unistd.h>

using namespace Qt::StringLiterals;

namespace till {

namespace {

QStringList alarmsAt(Till& till)
{
    QStringList alarms;
    try {
        for (const QueueWarning& warning : tillWarnings(till.queue(), hostObject<Config>()))
            alarms.append(warning.text.shown());
    } catch (const BasicException& failure) {
        alarms.append(failure.tr().shown());
    }
    return alarms;
}

int run(const Invocation& invocation)
{
    Options options = invocation.options;
    const Config config = settingsOf(options);
    QTextStream in(stdin);
    QTextStream out(stdout);
    QTextStream err(stderr);
    const LogFile logFile(options.logFile, fileLevel(options));
    Trace trace(screenLevel(options, LogLevel::Info));
    warnOfExposure(options);
    const Recording recording(invocation.own.value(u"record"_s));
    const auto reporter = reporterFor(options, out, err);

    QTextStream& talk = options.json ? err : out; // then only the steps' lines may go to the standard output
    TerminalFrontend terminal(in, talk);
    ScriptedFrontend cashier(&terminal);
    Till till(partsOf(options), config, cashier);
    reporter->preparations(trace.take());
    Player player({till, cashier}, trace, *reporter, nullptr);
    const DeliveryWorker worker(workerOptions(hostObject<Config>()));
    Shell(in, talk, isatty(STDIN_FILENO) == 1, [&till] { return alarmsAt(till); }).run(player);
    return exitWell;
}

} // namespace

Command shellCommand()
{
    return {.name = u"shell"_s,
            .arguments = {},
            .fewest = 0,
            .most = 0,
            .missing = {},
            .about = u"Play the steps typed on the standard input."_s,
            .details =
                u"The shell's own \"help\" lists the steps and their members, \"quit\" ends it. Where "
                "nobody names a loyalty\nservice, the stand is started. Without a data directory one of "
                "the moment is used, without --config no\nconfiguration.\n\n"
                "With --json: one line for each step, and the talk on stderr."_s,
            .options = {recordOption()},
            .examples = {{u"till shell"_s, u"a till to try things with"_s},
                         {u"till shell --data-dir till-1"_s, u"one that goes on where it was left"_s}},
            .statuses = {{0, u"the input ended, or \"quit\""_s},
                         {2, u"wrong usage, or a file, the plug-in or the stand cannot be used"_s}},
            .run = run,
            .tries = true};
}

} // namespace till
