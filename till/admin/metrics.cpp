#include "till/audit/metrics.h"
#include "till/admin/commands.h"
#include "till/admin/tool.h"

#include <QTextStream>

using namespace Qt::StringLiterals;

namespace till {

namespace {

int tellMetrics(const Invocation& invocation)
{
    Tool tool(invocation);
    tool.useDataDirectory();
    const QList<Metric> metrics = metricsOf(measured());
    if (!tool.console.json())
        QTextStream(stdout) << openMetrics(metrics) << Qt::flush;
    tool.console.value(QJsonDocument(metricsJson(metrics)));
    return exitWell;
}

const QString metricsDetails =
    uR"(Text in the form of OpenMetrics: how many messages wait or are parked, for how long, what came of the
attempts of the last day, when one was delivered last, whether the credentials are refused, and the
size of the store. Nothing in it is secret or a customer's. till deliver keeps the same in a file
for a collector.

With --json: each sample's value under its name with labels.)"_s;

} // namespace

Command metricsCommand()
{
    return {.name = u"metrics"_s,
            .about = u"Tell a monitor how the outgoing queue is doing."_s,
            .details = metricsDetails,
            .examples = {{u"till metrics"_s, u"of the usual data directory"_s}},
            .statuses = {{0, u"they were told"_s}, {2, u"wrong usage, or the store cannot be read"_s}},
            .run = tellMetrics};
}

} // namespace till
