#include "host/core/document.h"
#include "host/storage/datadirectory.h"
#include "host/storage/documents.h"
#include "host/storage/journal.h"
#include "host/storage/storageerror.h"
#include "till/admin/commands.h"
#include "till/admin/tool.h"
#include "till/audit/booking.h"
#include "till/audit/standbooks.h"
#include "till/cli/usageerror.h"
#include "till/setup/hostobjects.h"
#include "till/setup/parts.h"
#include "till/setup/standprocess.h"

#include <QFileInfo>
#include <QJsonArray>
#include <QJsonObject>

using namespace Qt::StringLiterals;

namespace till {

namespace {

struct Difference
{
    QString receipt; ///< empty: of the ledger as a whole
    QString text;
};

/// The service's books, or those of the stand that lie in the data directory.
StandBooks booksFor(const Tool& tool)
{
    std::optional<StandProcess> stand;
    const QString file = storage::dataFile(u"stand.sqlite"_s);
    if (!namesService(tool.config) && QFileInfo::exists(file))
        stand.emplace(StandSetup{.program = partsOf(tool.options).standProgram,
                                 .dataFile = file,
                                 .logFile = storage::dataFile(u"stand.log"_s),
                                 .ratio = standRatio(tool.config)});
    const QString url = stand ? stand->url() : serverUrlOf(tool.config);
    if (url.isEmpty())
        throw UsageError(
            u"till: reconcile: no service to compare with; set KYRLoyalty:serverUrl or say --server-url"_s);
    return standBooksAt(
        url,
        u"till: reconcile: the service at %1 shows no ledger to compare with (code %2): only the stand does; "
        "ask the service's operator for the operations of that day"_s.arg(QUrl(url).host()));
}

QDate dayOf(const Invocation& invocation)
{
    if (!invocation.has(u"date"_s))
        return QDate::currentDate();
    const QDate day = QDate::fromString(invocation.own.value(u"date"_s), Qt::ISODate);
    if (!day.isValid())
        throw UsageError(u"till: reconcile: --date: expected a day such as 2026-11-21 instead of '%1'"_s.arg(
            invocation.own.value(u"date"_s)));
    return day;
}

/// The receipts to which something happened at the till on that day of local time.
QStringList receiptsAtTill(const QDate& day)
{
    constexpr int all = std::numeric_limits<int>::max();
    const storage::Journal journal;
    QStringList found;
    for (const QString& identifier : journal.receipts(all)) {
        const QList<storage::JournalEntry> entries = journal.of(identifier);
        const auto onDay = [&day](const storage::JournalEntry& entry) {
            return entry.time.toLocalTime().date() == day;
        };
        if (std::any_of(entries.begin(), entries.end(), onDay))
            found.prepend(identifier);
        else if (!entries.isEmpty() && entries.last().time.toLocalTime().date() < day)
            break; // the latest come first
    }
    return found;
}

QList<Difference> compared(const Ledger& ledger, const QStringList& receipts)
{
    const MessageQueue queue;
    const QSet<QString> awaited = awaitedReceipts(queue);
    const QSharedPointer<AbstractDocument> open = SaveToFileLogic::loadOpenReceipt();
    QList<Difference> found;
    for (const QString& identifier : receipts) {
        try {
            for (const QString& text :
                 ledger.differences(identifier, bookedReceipt(identifier, open, awaited)))
                found.append({identifier, text});
        } catch (const BasicException& failure) {
            if (!storage::isFault(failure, storage::StorageFault::Damaged))
                throw;
            found.append({identifier,
                          u"receipt %1 cannot be compared: it, or its sale, is damaged"_s.arg(identifier)});
        }
    }
    return found;
}

void tell(Console& console, const QDate& day, const QStringList& receipts, const QList<Difference>& found)
{
    QJsonArray differences;
    for (const Difference& difference : found) {
        console.line(difference.text, Console::Colour::Red);
        differences.append(QJsonObject{{u"receipt"_s, difference.receipt}, {u"text"_s, difference.text}});
    }
    console.line(u"%1: %2 receipts compared, %3 differences"_s.arg(day.toString(Qt::ISODate))
                     .arg(receipts.size())
                     .arg(found.size()));
    console.value(QJsonDocument(QJsonObject{{u"date"_s, day.toString(Qt::ISODate)},
                                            {u"receipts"_s, QJsonArray::fromStringList(receipts)},
                                            {u"differences"_s, differences}}));
}

int run(const Invocation& invocation)
{
    const QDate day = dayOf(invocation);
    Tool tool(invocation);
    tool.useDataDirectory();
    const auto ratio = ratioOf(tool.config);
    if (!ratio)
        throw UsageError(
            u"till: reconcile: KYRLoyalty:bonusRatio: only ratios of whole numbers can be compared"_s);
    const StandBooks books = booksFor(tool);
    const Ledger ledger(books.ledger, *ratio);
    QStringList receipts = receiptsAtTill(day) + ledger.receiptsOf(day);
    receipts.removeDuplicates();

    QList<Difference> found;
    for (const QString& violation : books.violations)
        found.append({{}, violation});
    found += compared(ledger, receipts);
    dropHostObject<DocumentsDao>();
    tell(tool.console, day, receipts, found);
    return found.isEmpty() ? exitWell : exitFailed;
}

} // namespace

Command reconcileCommand()
{
    return {
        .name = u"reconcile"_s,
        .about = u"Compare a day's receipts with the service's ledger, difference by difference."_s,
        .details =
            u"Compares points spent, given back, earned and taken back, and the reports of receipts without "
            u"a card, of each\n"
            "receipt to which something happened on that day, here or there. What still waits in the queue "
            "is no\n"
            "difference. Needs the ledger page that the stand has; a till that works with the stand has it "
            "started.\n\n"
            "With --json: {\"date\", \"receipts\": [identifiers], \"differences\": [{\"receipt\", \"text\"}]}."_s,
        .options = {{u"date"_s, u"DAY"_s, u"A day of local time, such as 2026-11-21; today otherwise."_s}},
        .examples = {{u"till reconcile --date 2026-11-21"_s, u"of the usual data directory"_s}},
        .statuses = {{0, u"all of them agree"_s},
                     {1, u"there are differences"_s},
                     {2, u"wrong usage, or there is nothing to compare with"_s}},
        .run = run};
}

} // namespace till
