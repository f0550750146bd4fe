#include "till/audit/metrics.h"
#include "till/admin/commands.h"
#include "till/admin/place.h"
#include "till/admin/tool.h"
#include "till/setup/shopsettings.h"

#include <QTextStream>

using namespace Qt::StringLiterals;

namespace till {

namespace {

int tellMetrics(const Invocation& invocation)
{
    Tool tool(invocation);
    const bool ofShop = isOfShop(invocation);
    if (!ofShop)
        tool.useDataDirectory();
    const QList<Metric> metrics =
        metricsOf(ofShop ? measuredInShop(databaseOf(tool.config), tillNamed(invocation)) : measured());
    if (!tool.console.json())
        QTextStream(stdout) << openMetrics(metrics) << Qt::flush;
    tool.console.value(QJsonDocument(metricsJson(metrics)));
    return exitWell;
}

const QString metricsDetails =
    uR"(Text in the form of OpenMetrics: how many messages wait or are parked, for how long, what came of the
attempts of the last day, when one was delivered last, whether the credentials are refused, and the
size of the store. Nothing in it is secret or a customer's. till deliver keeps the same in a file
for a collector. Of a shop the names begin with kyr_shop_ instead of kyr_till_.

With --json: each sample's value under its name with labels.)"_s;

} // namespace

Command metricsCommand()
{
    return {.name = u"metrics"_s,
            .about = u"Tell a monitor how the outgoing queue is doing."_s,
            .details = metricsDetails,
            .options = shopOptions(),
            .examples = {{u"till metrics"_s, u"of the usual data directory"_s},
                         {u"till metrics --shop"_s, u"of the shop's database"_s}},
            .statuses = {{0, u"they were told"_s}, {2, u"wrong usage, or the store cannot be read"_s}},
            .run = tellMetrics};
}

} // namespace till
