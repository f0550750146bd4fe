#include "till/admin/commands.h"
#include "till/admin/place.h"
#include "till/admin/tool.h"
#include "till/audit/queuereport.h"
#include "till/cli/usageerror.h"

#include <QJsonArray>

using namespace Qt::StringLiterals;

namespace till {

namespace {

QList<qint64> messageIds(const QStringList& texts)
{
    QList<qint64> ids;
    for (const QString& text : texts)
        ids.append(messageId(text));
    return ids;
}

QList<qint64> parkedIds(const OutgoingQueue& queue)
{
    QList<qint64> ids;
    for (auto next = queue.after(0); next; next = queue.after(next->id)) {
        if (next->state == QueuedMessage::State::Parked)
            ids.append(next->id);
    }
    return ids;
}

/// Does it to each message and tells of each; returns the exit status.
int change(Console& console, const QList<qint64>& ids, const QString& done, const QString& undone,
           const std::function<bool(qint64)>& act)
{
    QJsonArray changed;
    QJsonArray unchanged;
    for (const qint64 id : ids) {
        const bool well = act(id);
        (well ? changed : unchanged).append(id);
        console.line(u"message %1 %2"_s.arg(QString::number(id), well ? done : undone),
                     well ? Console::Colour::None : Console::Colour::Red);
    }
    console.value(QJsonDocument(QJsonObject{{u"changed"_s, changed}, {u"unchanged"_s, unchanged}}));
    return unchanged.isEmpty() ? exitWell : exitFailed;
}

int retry(const Invocation& invocation)
{
    const bool all = invocation.has(u"all"_s);
    if (all == !invocation.arguments.isEmpty())
        throw UsageError(
            u"till: queue retry: expected either numbers of messages or --all; see till help queue retry"_s);
    const QList<qint64> named = messageIds(invocation.arguments);
    Tool tool(invocation);
    const auto queue = queueOf(invocation, tool);
    const QList<qint64> ids = all ? parkedIds(*queue) : named;
    if (ids.isEmpty())
        tool.console.line(u"nothing is parked"_s);
    return change(tool.console, ids, u"waits again"_s, u"is not parked: see till queue list"_s,
                  [&queue](qint64 id) { return queue->retry(id); });
}

void askBeforeDropping(Tool& tool, const Invocation& invocation)
{
    if (invocation.has(u"yes"_s))
        return;
    if (!Console::canAsk())
        throw UsageError(u"till: queue drop: nobody can be asked here; say --yes to drop without asking"_s);
    const QString which = invocation.arguments.join(u", "_s);
    if (!tool.console.confirmed(u"Drop message %1? The service will never get it."_s.arg(which)))
        throw UsageError(u"till: queue drop: nothing was dropped"_s);
}

int drop(const Invocation& invocation)
{
    const QList<qint64> ids = messageIds(invocation.arguments);
    Tool tool(invocation);
    const auto queue = queueOf(invocation, tool);
    askBeforeDropping(tool, invocation);
    return change(tool.console, ids, u"is dropped; the history keeps it"_s, u"is not in the queue"_s,
                  [&queue](qint64 id) { return queue->drop(id); });
}

const QString resultJson = u"With --json: {\"changed\": [numbers], \"unchanged\": [numbers]}."_s;

} // namespace

qint64 messageId(const QString& text)
{
    bool whole = false;
    const qint64 id = text.toLongLong(&whole);
    if (!whole || id < 1)
        throw UsageError(
            u"till: queue: expected the number of a message instead of '%1'; see till queue list"_s.arg(
                text));
    return id;
}

Command queueRetryCommand()
{
    return {.name = u"queue retry"_s,
            .arguments = u"[ID...]"_s,
            .most = -1,
            .about = u"Let parked messages wait again, in their old places."_s,
            .details = u"For messages that the service refused for a reason that is mended since.\n\n"_s +
                       resultJson,
            .options = QList<OptionKind>{{u"all"_s, {}, u"Every parked message."_s}} + shopOptions(),
            .examples = {{u"till queue retry 17 18"_s, u"these two"_s},
                         {u"till queue retry --all"_s, u"all of them"_s}},
            .statuses = {{0, u"all of them wait again"_s},
                         {1, u"one was not parked"_s},
                         {2, u"wrong usage, or the queue cannot be used"_s}},
            .run = retry};
}

Command queueDropCommand()
{
    return {.name = u"queue drop"_s,
            .arguments = u"ID..."_s,
            .fewest = 1,
            .most = -1,
            .missing = u"which message?"_s,
            .about = u"Give messages up: the service will never get them."_s,
            .details =
                u"Asks first; where nobody can be asked, --yes is needed. The queue's history keeps what was "
                "dropped, and later\nmessages of the same receipt no longer wait for it.\n\n"_s +
                resultJson,
            .options = QList<OptionKind>{{u"yes"_s, {}, u"Do not ask."_s, u"y"_s}} + shopOptions(),
            .examples = {{u"till queue drop 17"_s, u"asks, then drops it"_s},
                         {u"till queue drop --yes 17 18"_s, u"in a script"_s}},
            .statuses = {{0, u"all of them were dropped"_s},
                         {1, u"one was not in the queue"_s},
                         {2, u"wrong usage, the answer was no, or the queue cannot be used"_s}},
            .run = drop};
}

} // namespace till
