#include "host/storage/datadirectory.h"
#include "till/admin/commands.h"
#include "till/admin/standstill.h"
#include "till/admin/storetexts.h"
#include "till/admin/tool.h"
#include "till/cli/usageerror.h"

#include <QDir>
#include <QFileInfo>
#include <QJsonArray>

using namespace Qt::StringLiterals;

namespace till {

namespace {

QStringList textsOf(const QList<qint64>& numbers)
{
    QStringList texts;
    for (const qint64 number : numbers)
        texts.append(QString::number(number));
    return texts;
}

/// Not all of very many.
QString listText(const QStringList& all)
{
    constexpr qsizetype shown = 20;
    const QString rest = all.size() > shown ? u" and %1 more"_s.arg(all.size() - shown) : QString();
    return all.first(qMin(all.size(), shown)).join(u", "_s) + rest;
}

void tellWhatIsLeftBehind(Console& console, const storage::RestoredStore& restored)
{
    const auto tell = [&console](const QString& text) { console.line(text, Console::Colour::Yellow); };
    if (!restored.isFormerKnown)
        tell(u"the former store cannot be read, so what it has beyond this one is not known"_s);
    if (!restored.receiptsBehind.isEmpty())
        tell(u"closed in the former store only: "_s + listText(restored.receiptsBehind));
    if (!restored.openBehind.isEmpty())
        tell(u"open in the former store only: "_s + restored.openBehind);
    if (!restored.messagesBehind.isEmpty())
        tell(u"messages of the former store only: "_s + listText(textsOf(restored.messagesBehind)));
    const bool isAnythingBehind = !restored.isFormerKnown || !restored.receiptsBehind.isEmpty() ||
                                  !restored.openBehind.isEmpty() || !restored.messagesBehind.isEmpty();
    if (isAnythingBehind)
        console.line(u"to bring that along: till rescue "_s + restored.former);
}

int runRestore(const Invocation& invocation)
{
    const QString file = existingFile(u"restore"_s, invocation.arguments.first());
    Tool tool(invocation);
    storage::setDataDirectory(dataDirectoryOf(tool.options));
    if (QFileInfo(file).canonicalFilePath() ==
        QFileInfo(storage::dataFile(u"till.sqlite"_s)).canonicalFilePath())
        throw UsageError(u"till: restore: %1 is the store itself"_s.arg(file));
    const Standstill standstill(u"restore"_s);
    const storage::RestoredStore restored = storage::restoreStore(file);
    tool.console.line(
        u"%1 has now: %2"_s.arg(dataDirectoryOf(tool.options), contentsText(restored.contents)));
    if (!restored.former.isEmpty())
        tool.console.line(u"the former store is "_s + restored.former);
    if (restored.mayBeDelivered > 0)
        tool.console.line(
            u"%1 of the waiting messages may have been delivered since; they are sent again, and the "
            "service knows them by their receipt numbers"_s.arg(restored.mayBeDelivered));
    tellWhatIsLeftBehind(tool.console, restored);
    QJsonObject json = contentsJson(restored.contents);
    QJsonArray messages;
    for (const qint64 message : restored.messagesBehind)
        messages.append(message);
    json.insert(u"former"_s, restored.former);
    json.insert(u"formerKnown"_s, restored.isFormerKnown);
    json.insert(u"mayBeDelivered"_s, restored.mayBeDelivered);
    json.insert(u"receiptsBehind"_s, QJsonArray::fromStringList(restored.receiptsBehind));
    json.insert(u"openBehind"_s, restored.openBehind);
    json.insert(u"messagesBehind"_s, messages);
    tool.console.value(QJsonDocument(json));
    return exitWell;
}

const QString restoreDetails =
    uR"(Stop till and delivery first. The file is copied and read through before anything is changed: one
that is damaged, strange or of a later version is refused. The former store is not destroyed but
becomes till.sqlite.replaced-TIME beside it; what only that one has is named, and `till rescue` of
it brings it along. A data directory that is missing is made: so a till is replaced.

With --json: the members of `till backup` but "file", and "former" (where the former store lies),
"formerKnown", "mayBeDelivered" (how many), "receiptsBehind", "openBehind", "messagesBehind".)"_s;

} // namespace

Command restoreCommand()
{
    return {
        .name = u"restore"_s,
        .arguments = u"FILE"_s,
        .fewest = 1,
        .most = 1,
        .missing = u"from which file?"_s,
        .about = u"Put a backup in the place of the store."_s,
        .details = restoreDetails,
        .examples = {{u"till restore /mnt/backup/till-monday.sqlite"_s, u"of the usual data directory"_s}},
        .statuses = {{0, u"it is in its place"_s},
                     {2, u"wrong usage, a till or a delivery works, or the file cannot be used; nothing was "
                         "changed. Where the disk failed in the last step, the former store lies beside the "
                         "store already"_s}},
        .run = runRestore};
}

} // namespace till
