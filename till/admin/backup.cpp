#include "till/admin/commands.h"
#include "till/admin/storetexts.h"
#include "till/admin/tool.h"
#include "till/cli/usageerror.h"

#include <QFileInfo>

using namespace Qt::StringLiterals;

namespace till {

namespace {

int runBackup(const Invocation& invocation)
{
    const QFileInfo file(invocation.arguments.first());
    Tool tool(invocation);
    tool.useDataDirectory();
    const QString directory = dataDirectoryOf(tool.options);
    if (!keepsAnything(directory))
        throw UsageError(u"till: backup: %1 keeps nothing yet"_s.arg(directory));
    const auto contents = storage::backUpStore(file.absoluteFilePath());
    if (!contents)
        throw UsageError(u"till: backup: %1 is there already; name another"_s.arg(file.filePath()));
    tool.console.line(u"%1: %2"_s.arg(file.filePath(), contentsText(*contents)));
    for (const storage::DamagedSeal& seal : contents->damaged)
        tool.console.line(u"damaged, in the store too: "_s + rowText(seal.table, seal.key),
                          Console::Colour::Red);
    QJsonObject json = contentsJson(*contents);
    json.insert(u"file"_s, file.absoluteFilePath());
    tool.console.value(QJsonDocument(json));
    return contents->damaged.isEmpty() ? exitWell : exitFailed;
}

const QString backupDetails =
    uR"(The store as it is at one moment: receipts, the open one too, messages, history and journal. Till
and delivery go on meanwhile. The copy is its owner's alone (0600) and is read back before it gets
its name: its structure, each seal, and how many rows each table has. A file that is there is not
replaced, and a copy that cannot be finished leaves nothing behind.

With --json: {"file", "receipts", "openReceipt", "waiting", "parked", "history", "journal",
"newest", "damaged": [{"table", "key"}]}.)"_s;

} // namespace

Command backupCommand()
{
    return {.name = u"backup"_s,
            .arguments = u"FILE"_s,
            .fewest = 1,
            .most = 1,
            .missing = u"to which file?"_s,
            .about = u"Copy the store to a new file, while the till works."_s,
            .details = backupDetails,
            .examples = {{u"till backup /mnt/backup/till-monday.sqlite"_s, u"of the usual data directory"_s}},
            .statuses = {{0, u"the copy was made and is whole"_s},
                         {1, u"the copy was made; a receipt or message is damaged in it, as in the store"_s},
                         {2, u"wrong usage, or it cannot be made"_s}},
            .run = runBackup};
}

} // namespace till
