#include "till/admin/commands.h"
#include "till/admin/place.h"
#include "till/admin/tool.h"
#include "till/audit/queuereport.h"

using namespace Qt::StringLiterals;

namespace till {

namespace {

constexpr int usualLimit = 50;

void print(Console& console, const QueueListing& found, int waiting, int parked)
{
    QList<QStringList> rows;
    for (const QueuedMessage& message : found.messages) {
        const QJsonObject shown = messageJson(message);
        const QString receipt =
            message.till.isEmpty() ? message.group : message.till + u": "_s + message.group;
        rows.append({QString::number(message.id), timeText(message.enqueued), receipt,
                     shown[u"operation"_s].toString(), stateText(message), QString::number(message.attempts),
                     shown[u"lastError"_s].toString().section(u'\n', 0, 0)});
    }
    if (!rows.isEmpty())
        console.table(
            {u"id"_s, u"since"_s, u"receipt"_s, u"operation"_s, u"state"_s, u"attempts"_s, u"last error"_s},
            rows, {0, 5});
    if (found.more)
        console.line(u"… and more; --limit shows them"_s);
    console.line(u"%1 waiting, %2 parked"_s.arg(waiting).arg(parked));
}

int run(const Invocation& invocation)
{
    const int limit = invocation.number(u"limit"_s, usualLimit);
    Tool tool(invocation);
    const auto queue = queueOf(invocation, tool);
    const QueueListing found = queueListing(*queue, limit, invocation.has(u"parked"_s));
    const int waiting = queue->waitingCount();
    const int parked = queue->parkedCount();
    tool.console.value(listingJson(*queue, found));
    print(tool.console, found, waiting, parked);
    return exitWell;
}

} // namespace

Command queueListCommand()
{
    return {
        .name = u"queue list"_s,
        .about = u"Show what waits for the service, the oldest first."_s,
        .details =
            u"With --json: {\"waiting\", \"parked\", \"messages\", \"more\"}; each message is {\"id\", "
            "\"receipt\", \"operation\",\n\"text\", \"enqueued\", \"state\" (\"waiting\", "
            "\"parked\" or \"damaged\"), \"due\" (next attempt),\n\"attempts\", \"lastError\", \"damaged\"}. Times are UTC. Of the shop's queue each has its \"till\", too."_s,
        .options = QList<OptionKind>{{u"limit"_s, u"N"_s, u"At most so many; 50 otherwise."_s},
                                     {u"parked"_s, {}, u"Only those that wait for retry or drop."_s}} +
                   shopOptions(),
        .examples = {{u"till queue list"_s, u"of the usual data directory"_s},
                     {u"till queue list --parked --json"_s, u"for a script"_s}},
        .statuses = {{0, u"the queue was read, whatever it holds"_s}, {2, u"it cannot be read"_s}},
        .run = run};
}

} // namespace till
