#include "host/storage/rescue.h"

#include "host/storage/datacheck.h"
#include "host/storage/datadirectory.h"
#include "host/utils/masking.h"
#include "till/admin/commands.h"
#include "till/admin/standstill.h"
#include "till/admin/storetexts.h"
#include "till/admin/tool.h"
#include "till/cli/usageerror.h"

#include <QFileInfo>
#include <QJsonArray>

using namespace Qt::StringLiterals;

namespace till {

namespace {

QString lostText(const storage::LostRow& row)
{
    QString text = row.table.isEmpty() ? row.key : rowText(row.table, row.key);
    if (!row.receipt.isEmpty())
        text += u" of receipt "_s + row.receipt;
    if (!row.text.isEmpty())
        text += u", "_s + utils::maskNumbers(row.text);
    return u"lost: %1: %2"_s.arg(text, row.why);
}

void print(Console& console, const storage::Rescued& rescued)
{
    QList<QStringList> rows;
    for (const storage::RescuedTable& table : rescued.tables)
        rows.append({table.table, QString::number(table.taken), QString::number(table.there),
                     QString::number(table.lost)});
    console.table({u"table"_s, u"taken"_s, u"there already"_s, u"lost"_s}, rows, {1, 2, 3});
    for (const storage::LostRow& row : rescued.lost)
        console.line(lostText(row), Console::Colour::Red);
    if (!rescued.closed.isEmpty())
        console.line(
            u"receipt %1 was open here, but is closed there; it is open no more"_s.arg(rescued.closed));
    console.line(rescued.lost.isEmpty()
                     ? u"nothing is lost"_s
                     : u"settle what is lost with the service's operator; see docs/operations.md"_s);
}

QJsonDocument rescuedJson(const storage::Rescued& rescued)
{
    QJsonObject tables;
    for (const storage::RescuedTable& table : rescued.tables)
        tables.insert(
            table.table,
            QJsonObject{{u"taken"_s, table.taken}, {u"there"_s, table.there}, {u"lost"_s, table.lost}});
    QJsonArray lost;
    for (const storage::LostRow& row : rescued.lost)
        lost.append(QJsonObject{{u"table"_s, row.table},
                                {u"key"_s, row.key},
                                {u"receipt"_s, row.receipt},
                                {u"text"_s, utils::maskNumbers(row.text)},
                                {u"why"_s, row.why}});
    return QJsonDocument(
        QJsonObject{{u"tables"_s, tables}, {u"lost"_s, lost}, {u"closed"_s, rescued.closed}});
}

int runRescue(const Invocation& invocation)
{
    const QString file = existingFile(u"rescue"_s, invocation.arguments.first());
    Tool tool(invocation);
    tool.useDataDirectory();
    if (QFileInfo(file).canonicalFilePath() ==
        QFileInfo(storage::dataFile(u"till.sqlite"_s)).canonicalFilePath())
        throw UsageError(
            u"till: rescue: %1 is the store itself; the next start of the till sets it aside if it is "
            "damaged"_s.arg(file));
    const Standstill standstill(u"rescue"_s);
    const storage::OpenedStore opened = openDataDirectory();
    for (const storage::DataFinding& finding : opened.findings)
        tool.console.line(finding.text.ru(), Console::Colour::Yellow);
    const storage::Rescued rescued = storage::rescue(file);
    if (!rescued.isStore)
        throw UsageError(u"till: rescue: nothing of a till's store is in %1"_s.arg(file));
    print(tool.console, rescued);
    tool.console.value(rescuedJson(rescued));
    return rescued.lost.isEmpty() ? exitWell : exitFailed;
}

const QString rescueDetails =
    uR"(Stop till and delivery first. Reads the file, with its -wal where one lies beside it, page by page,
past what is damaged, and changes nothing of it. Receipts, card records, messages, history and
journal go into the store as one commit; the open receipt too, unless another is open or it was
closed since. What the store has already stays, so that doing it again changes nothing. A message
or receipt that is not whole by its seal is not taken. Messages keep their order and are due at
once; their numbers, and those in the journal, change where the store has used them.

With --json: {"tables": {NAME: {"taken", "there", "lost"}}, "lost": [{"table", "key", "receipt",
"text", "why"}], "closed" (the receipt that was open here, but is closed there, or "")}.)"_s;

} // namespace

Command rescueCommand()
{
    return {
        .name = u"rescue"_s,
        .arguments = u"FILE"_s,
        .fewest = 1,
        .most = 1,
        .missing = u"from which file?"_s,
        .about = u"Take what can be read of a damaged store, or of a former one, into the store."_s,
        .details = rescueDetails,
        .examples = {{u"till rescue /var/lib/kyr-loyalty/till.sqlite.damaged-20260131T235959Z"_s,
                      u"what a start has set aside"_s}},
        .statuses = {{0, u"all of it was taken or is there already"_s},
                     {1, u"something is lost, and was named"_s},
                     {2,
                      u"wrong usage, a till or a delivery works, or nothing of a store is in it; nothing was "
                      "changed"_s}},
        .run = runRescue};
}

} // namespace till
