#include "till/admin/commands.h"
#include "till/admin/place.h"
#include "till/admin/tool.h"
#include "till/audit/receiptreport.h"
#include "till/checkout/screen.h"
#include "till/cli/texttable.h"
#include "till/cli/usageerror.h"

#include <QJsonArray>

using namespace Qt::StringLiterals;

namespace till {

namespace {

constexpr int usualLimit = 20;

QString amount(const QJsonValue& value)
{
    return value.isDouble() ? QString::number(value.toDouble(), 'f', 2) : u"-"_s;
}

int list(const Invocation& invocation)
{
    const int limit = invocation.number(u"limit"_s, usualLimit);
    Tool tool(invocation);
    const auto records = recordsOf(invocation, tool);
    const ReceiptReports reports(*records);
    QJsonArray receipts;
    QList<QStringList> rows;
    for (const ReceiptReport& report : reports.latest(limit)) {
        const QJsonObject json = summaryJson(report);
        receipts.append(json);
        rows.append({report.till.isEmpty() ? report.identifier : report.till + u": "_s + report.identifier,
                     json[u"last"_s].toString(), json[u"type"_s].toString(), report.state,
                     json[u"card"_s].toString(), amount(json[u"sum"_s]), report.next});
    }
    if (rows.isEmpty())
        tool.console.line(u"no receipts yet"_s);
    else
        tool.console.table({u"receipt"_s, u"last"_s, u"type"_s, u"state"_s, u"card"_s, u"sum"_s, u"next"_s},
                           rows, {5});
    tool.console.value(QJsonDocument(QJsonObject{{u"receipts"_s, receipts}}));
    return exitWell;
}

void printPositions(Console& console, const QJsonArray& positions)
{
    QList<QStringList> rows;
    for (const auto& position : positions)
        rows.append({QString::number(position[u"position"_s].toInt()), position[u"name"_s].toString(),
                     screen::quantity(position[u"quantity"_s].toDouble()), amount(position[u"price"_s]),
                     amount(position[u"discount"_s]), amount(position[u"pointsDiscount"_s]),
                     amount(position[u"sum"_s])});
    console.table({u"#"_s, u"name"_s, u"quantity"_s, u"price"_s, u"discount"_s, u"of it points"_s, u"sum"_s},
                  rows, {0, 2, 3, 4, 5, 6});
    console.line();
}

void print(Console& console, const ReceiptReport& report, const QJsonObject& json)
{
    const QString type = json[u"type"_s].toString();
    console.line(u"%1 %2, %3"_s.arg(type.isEmpty() ? u"receipt"_s : type, report.identifier, report.state),
                 Console::Colour::Bold);
    if (!report.till.isEmpty())
        console.line(u"of till "_s + report.till);
    if (!json[u"sale"_s].toString().isEmpty())
        console.line(u"returns of %1, under which its messages go"_s.arg(json[u"sale"_s].toString()));
    if (!json[u"card"_s].toString().isEmpty())
        console.line(u"card %1"_s.arg(json[u"card"_s].toString()));
    const QString earned = json[u"earnedLater"_s].isNull()
                               ? u"earned %1 (in money)"_s.arg(amount(json[u"earned"_s]))
                               : u"earned %1 points, told later"_s.arg(amount(json[u"earnedLater"_s]));
    if (report.document)
        console.line(u"sum %1, paid with points %2, %3"_s.arg(amount(json[u"sum"_s]),
                                                              amount(json[u"pointsDiscount"_s]), earned));
    console.line();
    if (report.document)
        printPositions(console, json[u"positions"_s].toArray());
    QList<QStringList> rows;
    for (const storage::JournalEntry& entry : report.timeline)
        rows.append(timelineCells(entry));
    if (!rows.isEmpty())
        console.table({u"time"_s, u"event"_s, u"operation"_s, u"outcome"_s}, rows);
    console.line(u"next: "_s + report.next, Console::Colour::Bold);
}

/// Of a receipt that is not to be shown.
QString whereElse(const Invocation& invocation, bool concerns)
{
    if (!isOfShop(invocation))
        return concerns ? u"see till receipts list"_s
                        : u"it has moved on to the shop's database: say --shop, too"_s;
    return concerns ? u"it may lie at its till still; see till receipts list --shop"_s
                    : u"till %1 has done nothing to it that is in the shop's database"_s.arg(
                          tillNamed(invocation));
}

int show(const Invocation& invocation)
{
    Tool tool(invocation);
    const QString identifier = invocation.arguments.first();
    const auto records = recordsOf(invocation, tool);
    const bool concerns = records->concerns(identifier);
    const ReceiptReport report = ReceiptReports(*records).of(identifier);
    const bool isKnown = report.state != u"unknown"_s || !report.timeline.isEmpty();
    if (!isKnown || (isOfShop(invocation) && !concerns))
        throw UsageError(u"till: receipts show: no receipt '%1' here; "_s.arg(identifier) +
                         whereElse(invocation, concerns));
    const QJsonObject json = receiptJson(report);
    tool.console.value(QJsonDocument(json));
    if (!tool.console.json())
        print(tool.console, report, json);
    return exitWell;
}

} // namespace

Command receiptsListCommand()
{
    return {
        .name = u"receipts list"_s,
        .about = u"Show the receipts to which something happened last, and what is next for each."_s,
        .details =
            u"With --json: {\"receipts\"}; each is {\"receipt\", \"type\" (\"sale\", \"return\" "
            u"or \"\"), \"state\" "
            "(\"open\", \"closed\",\n\"abandoned\", \"damaged\" or \"unknown\"), \"last\", "
            "\"card\", \"sum\", "
            "\"pointsDiscount\", "
            "\"pending\" (messages as in queue list), \"next\"}.\nAmounts are money, or null. Of the shop's each has its \"till\", too."_s,
        .options =
            QList<OptionKind>{{u"limit"_s, u"N"_s, u"At most so many; 20 otherwise."_s}} + shopOptions(),
        .examples = {{u"till receipts list --limit 5"_s, u"the last five"_s},
                     {u"till receipts list --shop --till 7"_s, u"to which till 7 has done something"_s}},
        .statuses = {{0, u"they were read"_s}, {2, u"they cannot be read"_s}},
        .run = list};
}

Command receiptsShowCommand()
{
    return {
        .name = u"receipts show"_s,
        .arguments = u"ID"_s,
        .fewest = 1,
        .most = 1,
        .missing = u"which receipt?"_s,
        .about = u"Show one receipt with all that happened to it."_s,
        .details = u"Positions, card (masked), points, and the timeline: every operation, attempt and "
                   u"answer, and what is next.\n\n"
                   "With --json: the members of `receipts list`, \"sale\", \"earned\" (money), "
                   "\"earnedLater\" (points, as the "
                   "service\nanswered when the message was delivered), \"positions\" "
                   "({\"position\", \"articul\", "
                   "\"name\",\n\"price\", \"quantity\", \"discount\", \"pointsDiscount\", \"sum\"}) and "
                   "\"timeline\" ({\"time\", "
                   "\"event\", \"operation\",\n\"message\", \"code\", \"detail\", \"milliseconds\"})."_s,
        .options = shopOptions(),
        .examples = {{u"till receipts show R-17"_s, u"the receipt of that identifier"_s}},
        .statuses = {{0, u"it was shown"_s}, {2, u"there is no such receipt, or the store cannot be read"_s}},
        .run = show};
}

} // namespace till
