#include "host/queue/messagequeue.h"
#include "host/shop/schema.h"
#include "host/shop/shopjobs.h"
#include "host/shop/shopqueue.h"
#include "host/storage/datacheck.h"
#include "host/storage/datadirectory.h"
#include "host/utils/logging.h"
#include "till/admin/commands.h"
#include "till/admin/deliveryservice.h"
#include "till/admin/metricsfile.h"
#include "till/admin/place.h"
#include "till/admin/sparetime.h"
#include "till/admin/tool.h"
#include "till/audit/recording.h"
#include "till/checkout/deliverynow.h"
#include "till/setup/keeping.h"
#include "till/setup/reloading.h"
#include "till/setup/shopsettings.h"
#include "till/setup/stopsignals.h"

#include <QDeadlineTimer>

#include <chrono>
#include <optional>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace till {

namespace {

const QString metricsFileOption = u"metrics-file"_s;

/// Where the metrics go: an option says it over the settings.
QString metricsFileOf(const Invocation& invocation, const Tool& tool)
{
    return invocation.has(metricsFileOption) ? invocation.own.value(metricsFileOption)
                                             : metricsFileOf(tool.config, tool.options);
}

int tell(Tool& tool, const DeliveryState& last, const OutgoingQueue& queue)
{
    tool.console.value(QJsonDocument(QJsonObject{{u"delivered"_s, last.delivered},
                                                 {u"failed"_s, last.failed},
                                                 {u"waiting"_s, queue.waitingCount()},
                                                 {u"parked"_s, queue.parkedCount()}}));
    return exitWell;
}

void removeOnceADay(const QString& database, const storage::KeepingTimes& times, QDeadlineTimer& next)
{
    if (!next.hasExpired())
        return;
    next.setRemainingTime(24h);
    try {
        shop::Connection connection(database);
        const QStringList removed = shop::removeOld(connection, times.receipts, times.journal);
        if (!removed.isEmpty())
            utils::logger(u"shop"_s)->info(u"Removed, for its age: "_s + removed.join(u", "_s));
    } catch (const shop::DatabaseError& failure) {
        utils::logger(u"shop"_s)->warn(u"Nothing is removed for its age: "_s + failure.tr().ru());
    }
}

/// The shop's queue; whatever lies on this machine is none of its business.
int runOfShop(const Invocation& invocation, const Signals& signals, Tool& tool)
{
    const QString database = databaseOf(tool.config);
    const shop::ShopQueue queue(database); // what makes delivery impossible is said at once
    const Recording recording(invocation.own.value(u"record"_s));
    MetricsFile metrics(metricsFileOf(invocation, tool),
                        [&database] { return metricsOf(measuredInShop(database)); });
    const DeliveryState last =
        serve(invocation, signals, tool, shop::shopDelivery(database, deliveryOptions(tool.config)),
              {.often = [&] { metrics.write(); },
               .spare =
                   [&, next = QDeadlineTimer()]() mutable {
                       removeOnceADay(database, keepingTimesOf(tool.config), next);
                       return false;
                   },
               .reload = [&] { metrics.setName(metricsFileOf(invocation, tool)); }});
    metrics.write();
    return tell(tool, last, queue);
}

int run(const Invocation& invocation)
{
    const Signals signals; // from the first to the last moment: without them a reload ends the program
    Tool tool(invocation);
    if (isOfShop(invocation))
        return runOfShop(invocation, signals, tool);
    const QString directory = dataDirectoryOf(tool.options);
    storage::setDataDirectory(directory);
    // What makes delivery impossible is said at once.
    const storage::OpenedStore opened = openDataDirectory();
    for (const storage::DataFinding& finding : opened.findings)
        tool.console.line(finding.text.ru(), Console::Colour::Yellow);
    const Recording recording(invocation.own.value(u"record"_s));
    MetricsFile metrics(metricsFileOf(invocation, tool), [] { return metricsOf(measured()) + ownMetrics(); });
    std::optional<SpareTime> spareTime(tool.config);
    const DeliveryState last = serve(
        invocation, signals, tool, workerOptions(tool.config),
        {.often = [&] { metrics.write(); },
         .spare = [&] { return spareTime->use(); },
         .reload =
             [&] {
                 metrics.setName(metricsFileOf(invocation, tool));
                 spareTime->set(tool.config);
                 if (dataDirectoryOf(tool.options) != directory)
                     utils::logger(u"till"_s)->warn(u"%1 is delivered until the next start"_s.arg(directory));
             }});
    spareTime.reset();
    metrics.write();
    return tell(tool, last, MessageQueue());
}

} // namespace

Command deliverCommand()
{
    return {.name = u"deliver"_s,
            .about = u"Deliver the outgoing queue until told to stop: the delivery service."_s,
            .details =
                u"Sends each message when it is due, and what comes in at once. Where another delivery is "
                u"under way on the same\n"
                "data directory, it stands by and takes over. SIGTERM and SIGINT end it after the messages "
                "in hand. The\n"
                "present password takes the place of the one that a message was queued with. Tells the "
                "service manager that\n"
                "started it when it is ready, and keeps its watchdog. SIGHUP has it read its settings anew. "
                "While "
                "nothing is to be\n"
                "sent it removes what was kept for its time (Till:keepDays, Till:keepJournalDays).\n\n"
                "With --json: {\"delivered\", \"failed\" (attempts), \"waiting\", \"parked\"}, at the end."_s,
            .options =
                {{metricsFileOption, u"FILE"_s,
                  u"Keep metrics in this file for a collector, instead of Till:metricsFile."_s},
                 {u"shop"_s,
                  {},
                  u"Deliver the queue of the whole shop, beside any number of others; see docs/shop.md."_s},
                 recordOption()},
            .examples = {{u"till deliver"_s, u"in the foreground"_s},
                         {u"systemctl enable --now kyr-loyalty-deliver"_s, u"as a service"_s}},
            .statuses = {{0, u"it was told to stop"_s},
                         {2, u"the settings or the data directory cannot be used"_s}},
            .run = run};
}

} // namespace till
