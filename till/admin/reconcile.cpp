#include "host/storage/datadirectory.h"
#include "host/storage/storageerror.h"
#include "till/admin/commands.h"
#include "till/admin/place.h"
#include "till/admin/tool.h"
#include "till/audit/booking.h"
#include "till/audit/standbooks.h"
#include "till/cli/usageerror.h"
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
StandBooks booksFor(const Tool& tool, bool ofShop)
{
    std::optional<StandProcess> stand;
    const QString file = ofShop ? QString() : storage::dataFile(u"stand.sqlite"_s);
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

QStringList differencesOf(const QString& identifier, const Ledger& ledger, Records& records, bool ofShop)
{
    try {
        if (ofShop && !records.closed(identifier) && records.journalOf(identifier).isEmpty())
            return {u"receipt %1 is not in the shop's database: it may lie at its till still, so compare it "
                    "there"_s.arg(identifier)};
        return ledger.differences(identifier, bookedReceipt(identifier, records));
    } catch (const BasicException& failure) {
        if (!storage::isFault(failure, storage::StorageFault::Damaged))
            throw;
        return {u"receipt %1 cannot be compared: it, or its sale, is damaged"_s.arg(identifier)};
    }
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
    const auto records = recordsOf(invocation, tool);
    const auto ratio = ratioOf(tool.config);
    if (!ratio)
        throw UsageError(
            u"till: reconcile: KYRLoyalty:bonusRatio: only ratios of whole numbers can be compared"_s);
    const StandBooks books = booksFor(tool, isOfShop(invocation));
    const Ledger ledger(books.ledger, *ratio);
    QStringList receipts = records->ofDay(day) + ledger.receiptsOf(day);
    receipts.removeDuplicates();
    const auto elsewhere =
        receipts.removeIf([&](const QString& identifier) { return !records->concerns(identifier); });

    QList<Difference> found;
    for (const QString& violation : books.violations)
        found.append({{}, violation});
    for (const QString& identifier : receipts) {
        for (const QString& text : differencesOf(identifier, ledger, *records, isOfShop(invocation)))
            found.append({identifier, text});
    }
    if (elsewhere > 0 && !isOfShop(invocation))
        tool.console.line(
            u"%1 receipts have moved on to the shop's database: compare them with --shop"_s.arg(elsewhere));
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
            "difference; with a shop's database, what has moved on is compared with --shop, and what has not "
            "at "
            "its till. Needs the ledger page that the stand has; a till that works with the stand has it "
            "started.\n\n"
            "With --json: {\"date\", \"receipts\": [identifiers], \"differences\": [{\"receipt\", \"text\"}]}."_s,
        .options = QList<OptionKind>{{u"date"_s, u"DAY"_s,
                                      u"A day of local time, such as 2026-11-21; today otherwise."_s}} +
                   shopOptions(),
        .examples = {{u"till reconcile --date 2026-11-21"_s, u"of the usual data directory"_s},
                     {u"till reconcile --shop"_s, u"of all tills of the shop, today"_s}},
        .statuses = {{0, u"all of them agree"_s},
                     {1, u"there are differences"_s},
                     {2, u"wrong usage, or there is nothing to compare with"_s}},
        .run = run};
}

} // namespace till
