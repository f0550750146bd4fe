#include "host/core/document.h"
#include "host/shop/schema.h"
#include "host/shop/shopcards.h"
#include "host/storage/datadirectory.h"
#include "host/storage/documents.h"
#include "host/storage/quarantine.h"
#include "host/storage/removal.h"
#include "host/storage/store.h"
#include "host/utils/masking.h"
#include "till/admin/commands.h"
#include "till/admin/place.h"
#include "till/admin/tool.h"
#include "till/checkout/unknownspending.h"
#include "till/cli/usageerror.h"
#include "till/setup/shopsettings.h"

#include <QFileInfo>
#include <QJsonArray>
#include <QJsonObject>
#include <QMap>
#include <QTextStream>

#include <algorithm>
#include <chrono>
#include <functional>
#include <variant>

using namespace Qt::StringLiterals;

namespace till {

namespace {

constexpr int patience = 2000; // milliseconds, with who reads the store

/// A sale, with its returns, that can't go yet.
struct Kept
{
    QString receipt;
    QString why;
};

/// What became of a family: why it has to stay, or the receipts that were removed.
using Fate = std::variant<storage::Need, QList<storage::RemovedReceipt>>;

struct Outcome
{
    QList<storage::RemovedReceipt> removed;
    QList<Kept> kept;
    QStringList damaged;    ///< receipts of which nobody knows whose they are
    bool isLogLeft = false; ///< what was removed is still in the log
    QStringList elsewhere;  ///< what this command does not reach

    [[nodiscard]] bool isAll() const { return kept.isEmpty() && damaged.isEmpty() && !isLogLeft; }
};

QString cardSaid(const Invocation& invocation)
{
    QString card = invocation.own.value(u"card"_s);
    if (card == u"-"_s)
        card = QTextStream(stdin).readLine();
    if (card.isEmpty())
        throw UsageError(u"till: forget: whose? say --card and the number, or --card - and type it"_s);
    const auto isOdd = [](QChar letter) { return letter.isSpace() || !letter.isPrint(); };
    if (std::any_of(card.cbegin(), card.cend(), isOdd))
        throw UsageError(u"till: forget: --card: expected the card's number as the service knows it, without "
                         "blanks"_s);
    return card;
}

/// Of a shop nobody knows what is open at a till, but who is just closing a return.
QString reason(storage::Need need, bool ofShop)
{
    const QString there = ofShop ? u" --shop"_s : QString();
    switch (need) {
    case storage::Need::Open:
        break;
    case storage::Need::Unknown:
        return u"whether points were spent on it was never known; see till receipts show%1"_s.arg(there);
    case storage::Need::Parked:
        return u"a message of it is parked: till queue retry%1 or till queue drop%1 it"_s.arg(there);
    case storage::Need::Waiting:
        return u"a message of it waits: till queue deliver%1"_s.arg(there);
    }
    if (ofShop)
        return u"a return of it is just being closed"_s;
    const auto open = SaveToFileLogic::loadOpenReceipt();
    return open && unknownSpendingOf(*open)
               ? u"it is open, and whether points were spent on it is not known: the cashier spends the same "
                 "points again, or rolls back"_s
               : u"it, or a return of it, is open: the cashier ends it"_s;
}

void askBeforeForgetting(Tool& tool, const Invocation& invocation, const QString& card, const QString& where)
{
    if (invocation.has(u"yes"_s))
        return;
    if (!Console::canAsk())
        throw UsageError(u"till: forget: nobody can be asked here; say --yes to remove without asking"_s);
    if (!tool.console.confirmed(
            u"Remove every receipt of card %1? What was bought with them cannot be given back at %2 any "
            "more."_s.arg(card, where)))
        throw UsageError(u"till: forget: nothing was removed"_s);
}

Outcome forget(const storage::CardTraces& traces, bool ofShop,
               const std::function<Fate(const QString& family)>& remove)
{
    Outcome outcome;
    for (const QString& family : traces.families) {
        const Fate fate = remove(family);
        if (const auto* need = std::get_if<storage::Need>(&fate))
            outcome.kept.append({family, reason(*need, ofShop)});
        else
            outcome.removed += std::get<QList<storage::RemovedReceipt>>(fate);
    }
    outcome.damaged = traces.damaged;
    for (const storage::RemovedReceipt& receipt : outcome.removed)
        outcome.damaged.removeAll(receipt.identifier); // the sale's card or a return's told whose it was
    return outcome;
}

Fate removedHere(const QString& family)
{
    const auto store = storage::store();
    Fate fate;
    store->atomically([&] {
        const storage::Removal removal(store);
        if (const auto need = removal.needOf(family))
            fate = *need;
        else
            fate = removal.remove(family);
    });
    return fate;
}

Fate removedFrom(shop::Connection& database, const QString& family)
{
    try {
        return shop::removeFamily(database, family);
    } catch (const shop::DatabaseError& failure) {
        if (failure.fault() != shop::Fault::Conflict)
            throw;
        return storage::Need::Open;
    }
}

/// What the command does not reach at a till.
QStringList besideTheTill(const Config& config)
{
    QStringList places;
    for (const QString& file : storage::quarantinedFiles())
        places.append(QFileInfo(file).fileName() + u" in the data directory"_s);
    if (QFileInfo::exists(storage::dataFile(u"stand.sqlite"_s)))
        places.append(u"stand.sqlite, the books of this till's own stand"_s);
    if (shopOf(config))
        places.append(u"the shop's database (till forget --shop)"_s);
    return places + QStringList{u"backups"_s, u"the log file and what it was before it was rotated"_s,
                                u"recordings and support bundles"_s, u"the loyalty service itself"_s};
}

QStringList besideTheDatabase()
{
    return {u"what lies at the tills still (till forget at each of them, before this)"_s,
            u"the database's copies, backups and log, and what VACUUM has not cleared yet"_s,
            u"log files, recordings and support bundles"_s, u"the loyalty service itself"_s};
}

QString countOf(qsizetype receipts)
{
    return receipts == 1 ? u"1 receipt"_s : u"%1 receipts"_s.arg(receipts);
}

void tell(Console& console, const Outcome& outcome, const QString& where)
{
    QMap<QDate, QStringList> days;
    for (const storage::RemovedReceipt& receipt : outcome.removed)
        days[receipt.closed.toLocalTime().date()].append(receipt.identifier);
    for (auto day = days.cbegin(); day != days.cend(); ++day)
        console.line(u"%1: %2 removed: %3"_s.arg(day.key().toString(Qt::ISODate), countOf(day->size()),
                                                 day->join(u", "_s)));
    for (const Kept& kept : outcome.kept)
        console.line(u"%1 stays: %2; then run this again"_s.arg(kept.receipt, kept.why),
                     Console::Colour::Red);
    if (!outcome.damaged.isEmpty())
        console.line(u"damaged, so nobody knows whose: %1"_s.arg(outcome.damaged.join(u", "_s)),
                     Console::Colour::Red);
    if (outcome.isLogLeft)
        console.line(
            u"another program is reading the store: what was removed is still in till.sqlite-wal; run "
            "this again"_s,
            Console::Colour::Red);
    if (!outcome.removed.isEmpty())
        console.line(u"what was bought with these receipts cannot be given back at %1 any more"_s.arg(where));
    console.line(u"not reached: "_s + outcome.elsewhere.join(u", "_s));
}

QJsonObject json(const Outcome& outcome)
{
    QJsonArray removed;
    for (const storage::RemovedReceipt& receipt : outcome.removed)
        removed.append(QJsonObject{{u"receipt"_s, receipt.identifier},
                                   {u"closed"_s, receipt.closed.toString(Qt::ISODateWithMs)}});
    QJsonArray kept;
    for (const Kept& one : outcome.kept)
        kept.append(QJsonObject{{u"receipt"_s, one.receipt}, {u"why"_s, one.why}});
    return {{u"removed"_s, removed},
            {u"kept"_s, kept},
            {u"damaged"_s, QJsonArray::fromStringList(outcome.damaged)},
            {u"logFolded"_s, !outcome.isLogLeft},
            {u"notReached"_s, QJsonArray::fromStringList(outcome.elsewhere)}};
}

/// Asks, and removes what was found.
int run(const Invocation& invocation, Tool& tool, const QString& card, const storage::CardTraces& traces,
        const std::function<Outcome()>& removeAll)
{
    const QString shown = utils::maskWhole(card);
    const QString where = isOfShop(invocation) ? u"any till of the shop"_s : u"this till"_s;
    if (traces.families.isEmpty())
        tool.console.line(
            u"no receipt of card %1 is kept here; if that surprises you, look at the number"_s.arg(shown));
    else
        askBeforeForgetting(tool, invocation, shown, where);
    const Outcome outcome = removeAll();
    tell(tool.console, outcome, where);
    tool.console.value(QJsonDocument(json(outcome)));
    return outcome.isAll() ? exitWell : exitFailed;
}

int runInShop(const Invocation& invocation, Tool& tool, const QString& card)
{
    const QString address = databaseOf(tool.config);
    shop::Connection reader(address, {.statement = std::chrono::minutes(10)});
    requirePrepared(reader);
    const storage::CardTraces traces = shop::tracesOf(reader, card);
    return run(invocation, tool, card, traces, [&] {
        shop::Connection database(address);
        Outcome outcome =
            forget(traces, true, [&](const QString& family) { return removedFrom(database, family); });
        outcome.elsewhere = besideTheDatabase();
        return outcome;
    });
}

int runAtTill(const Invocation& invocation, Tool& tool, const QString& card)
{
    tool.useDataDirectory();
    const QString directory = dataDirectoryOf(tool.options);
    if (!keepsAnything(directory))
        throw UsageError(u"till: forget: %1: no till has kept anything here"_s.arg(directory));
    const storage::CardTraces traces = storage::tracesOf(card);
    return run(invocation, tool, card, traces, [&] {
        Outcome outcome = forget(traces, false, removedHere);
        outcome.isLogLeft = !storage::foldLog(*storage::store(), patience);
        outcome.elsewhere = besideTheTill(tool.config);
        return outcome;
    });
}

int run(const Invocation& invocation)
{
    const QString card = cardSaid(invocation);
    Tool tool(invocation);
    return isOfShop(invocation) ? runInShop(invocation, tool, card) : runAtTill(invocation, tool, card);
}

const QString details =
    uR"(Removes every closed receipt with that card, a sale with all its returns, and of each the journal,
the queue's history and what was written back of the cards; overwrites them in the store and its
log. A receipt stays while it is still needed: a message of it waits or is parked, or it is open.
The number is never shown whole; with "-" it is read from the standard input, where no other user
of the machine sees it. Asks first; where nobody can be asked, --yes is needed. May be used while a
till works. With a shop's database: first at each till, then there with --shop, by a user who is
"kyr_admin".

With --json: {"removed": [{"receipt", "closed"}], "kept": [{"receipt", "why"}], "damaged":
[identifiers], "logFolded" (false: run it again), "notReached": [where else to look]}.)"_s;

} // namespace

Command forgetCommand()
{
    return {.name = u"forget"_s,
            .about = u"Remove all that is kept of a customer's card: they ask to be forgotten."_s,
            .details = details,
            .options = {{u"card"_s, u"NUMBER"_s,
                         u"The number of the card; \"-\": the first line of the "
                         "standard input."_s},
                        {u"yes"_s, {}, u"Do not ask."_s, u"y"_s},
                        shopOption()},
            .examples = {{u"till forget --card -"_s, u"type the number, answer the question"_s},
                         {u"till forget --yes --card - < number"_s, u"in a script"_s},
                         {u"till forget --shop --card -"_s, u"in the shop's database"_s}},
            .statuses = {{0, u"nothing is left of it"_s},
                         {1, u"something had to stay"_s},
                         {2, u"wrong usage, the answer was no, or the store cannot be used"_s}},
            .run = run};
}

} // namespace till
