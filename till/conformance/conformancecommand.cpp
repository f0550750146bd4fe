#include "host/utils/masking.h"
#include "till/cli/usageerror.h"
#include "till/conformance/commands.h"
#include "till/conformance/plays.h"
#include "till/conformance/report.h"
#include "till/setup/settings.h"

#include <QSaveFile>

using namespace Qt::StringLiterals;

namespace till {

namespace {

using namespace conformance;

constexpr int usualSlowest = 1500; // milliseconds
constexpr int usualPoints = 10;

Terms termsOf(const Invocation& invocation, const Config& config)
{
    if (!namesService(config))
        throw UsageError(u"till: which service? Name it with --server-url"_s);
    Terms terms{.parts = partsOf(invocation.options),
                .config = config,
                .card = invocation.own.value(u"card"_s).trimmed(),
                .phone = invocation.own.value(u"phone"_s).trimmed(),
                .code = invocation.own.value(u"code"_s),
                .points = static_cast<double>(invocation.number(u"points"_s, usualPoints)),
                .slowest = invocation.number(u"slowest"_s, usualSlowest),
                .canAskFor = Console::canAsk()};
    if (terms.card.isEmpty())
        throw UsageError(u"till: which card? Name one of your own with --card"_s);
    terms.parts.dataDirectory.clear(); // its receipts are nobody's
    return terms;
}

void play(Tester& tester)
{
    if (!playCustomer(tester))
        return;
    playMalformed(tester);
    for (const auto& one : {playSpending, playRefusedSpendings, playLateSpending, playOddSpending,
                            playEarning, playAnonymous}) {
        if (!tester.leftovers().isEmpty())
            return; // where something is not given back, no more is spent
        one(tester);
    }
    tester.useCodes();
    if (tester.leftovers().isEmpty())
        playCode(tester);
}

/// Whatever happens in between, all is given back.
Report reportOf(Terms terms, const StopSignals& signals)
{
    Report report;
    report.card = utils::maskWhole(terms.card);
    report.service =
        utils::maskPath(QUrl(serverUrlOf(terms.config)).toString(QUrl::RemoveUserInfo | QUrl::RemoveQuery));
    Tester tester(std::move(terms), signals);
    try {
        play(tester);
    } catch (const Interrupted&) {
        report.interrupted = true;
        tester.giveBack();
    } catch (...) {
        tester.giveBack();
        throw;
    }
    tester.judgeTheWhole();
    report.rows = tester.rows();
    report.leftovers = tester.leftovers();
    report.moved = tester.moved();
    return report;
}

int run(const Invocation& invocation)
{
    const StopSignals signals;
    Options options = invocation.options;
    const Config config = settingsOf(options);
    Terms terms = termsOf(invocation, config);
    const LogFile logFile(options.logFile, fileLevel(options));
    // What is refused on purpose is no error of anybody's: it is in the report.
    const LogCapture log([](const LogLine&) {});
    warnOfExposure(options);
    Console console(options.json);
    QSaveFile file(invocation.own.value(u"junit"_s));
    if (invocation.has(u"junit"_s) && !file.open(QIODevice::WriteOnly))
        throw UsageError(u"till: %1: %2"_s.arg(file.fileName(), file.errorString()));

    console.progress(u"Playing receipts with card %1 at %2; all points are given back"_s.arg(
        utils::maskWhole(terms.card), QUrl(serverUrlOf(config)).host()));
    const Report report = reportOf(std::move(terms), signals);
    print(report, console, options.verbose);
    console.value(reportJson(report));
    if (file.isOpen() && (file.write(junit(report)) < 0 || !file.commit()))
        throw UsageError(u"till: %1: %2"_s.arg(file.fileName(), file.errorString()));
    return report.isWell() ? exitWell : exitFailed;
}

const QString details =
    uR"(Plays receipts at a till of its own, with the plug-in, and says promise by promise what the service
keeps, what differs, and what that means at the till.

What it does to the service: some 150 requests. It asks for the card, for an unknown one and for an
unknown phone; once with a wrong password and once with none. With the card it opens about ten
receipts of up to 500, some of which spend the points of --points (1.37 of one), and one of which
earns; it asks for the limits of a receipt of millions, which it does not pay. Spending with a code
sends the customer a code, or two. Two receipts without a card are told of: a sale and its return.
Every spending is cancelled or refused, every earning is taken back and every sale comes back, also
when something fails or SIGINT or SIGTERM interrupts it; what could not be given back is named with
its receipt number, beside all numbers used. Sent twice, badly or too late, requests may move points
of a service that does not keep its promises: use a card of your own. A new card would begin its
registration. Receipts are dated within the last week, so that their numbers meet no others.

Receipts and queue of a data directory are not touched.

With --json: {"ok", "service", "card", "kept", "differs", "not_judged", "interrupted", "promises":
[{"id", "promise", "verdict", "finding", "meaning", "exchanges"}], "not_given_back": [{"operation",
"receipt"}], "asked"}.)"_s;

} // namespace

Command conformanceCommand()
{
    return {.name = u"conformance"_s,
            .about = u"Check that a loyalty service keeps every promise that the plug-in relies on."_s,
            .details = details,
            .options = {{u"card"_s, u"N"_s, u"An active card of your own, with some points; asked for."_s},
                        {u"phone"_s, u"N"_s, u"The phone number of its customer."_s},
                        {u"code"_s, u"CODE"_s,
                         u"The code that confirms a spending; else it is asked for on a terminal."_s},
                        {u"points"_s, u"N"_s, u"How many points a spending takes; 10 otherwise."_s},
                        {u"slowest"_s, u"MS"_s, u"How long an answer may take; 1500 otherwise."_s},
                        {u"junit"_s, u"FILE"_s, u"Write the report to this file too, as JUnit's XML."_s}},
            .examples = {{u"till conformance --server-url https://loyalty.example/ --card 2000000000055"_s,
                          u"with user and password from the environment"_s},
                         {u"till conformance --config till.toml --card 2000000000055 --junit report.xml"_s,
                          u"for a build server"_s}},
            .statuses = {{0, u"every promise that could be judged is kept"_s},
                         {1, u"something differs, was not given back, or it was interrupted"_s},
                         {2, u"wrong usage, or a file or the plug-in cannot be used"_s}},
            .run = run};
}

} // namespace till
