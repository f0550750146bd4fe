#include "host/storage/retention.h"

#include "host/queue/messagequeue.h"
#include "host/storage/documents.h"
#include "host/storage/journal.h"
#include "tests/support/filebytes.h"
#include "tests/support/stillclock.h"
#include "tests/unit/storage/documents.h"
#include "tests/unit/storage/scene.h"

#include <gmock/gmock.h>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;
using ::testing::Contains;
using ::testing::HasSubstr;

namespace {

constexpr auto day = 24h;
constexpr storage::KeepingTimes times{.receipts = 40, .journal = 9};
const QString tables = u"card_records documents history journal"_s;

/// A till that works every day, and removes what is too old when it is idle.
class Retention : public test_support::Storage
{
protected:
    Retention() { round(); }

    /// Returns how many steps it took.
    int round()
    {
        int steps = 1;
        while (retention.step())
            ++steps;
        return steps;
    }
    void work(int days)
    {
        for (int done = 0; done < days; ++done) {
            clock.move(day);
            round();
        }
    }

    static qint64 enqueue(const QString& receipt)
    {
        return MessageQueue().enqueue(u"q"_s, receipt, {{u"body"_s, QByteArray("{}")}}, {});
    }
    /// With a row in every table.
    static void closeWithTraces(const QString& identifier)
    {
        closeReceipt(richSale(identifier));
        DocumentsDao().saveCardRecord(DocumentsDao().loadDocument(identifier, false)->getCardRecord(12));
        MessageQueue().delivered(enqueue(identifier), {});
    }
    /// In which tables the receipt is found.
    static QString placesOf(const QString& receipt)
    {
        const auto store = storage::store();
        QStringList found;
        for (const auto& [table, column] :
             {std::pair(u"card_records"_s, u"document"_s), std::pair(u"documents"_s, u"identifier"_s),
              std::pair(u"history"_s, u"receipt"_s), std::pair(u"journal"_s, u"receipt"_s)}) {
            QSqlQuery query = store->prepared(u"SELECT 1 FROM %1 WHERE %2 = ?"_s.arg(table, column));
            if (!store->rows(query, {receipt}).isEmpty())
                found.append(table);
        }
        return found.join(u' ');
    }
    static int number(const QString& sql)
    {
        const auto store = storage::store();
        QSqlQuery query = store->prepared(sql);
        return store->rows(query).value(0).value(0).toInt();
    }
    /// A busy till's: enough pages to give some back.
    static void closeMany(int receipts)
    {
        const auto together = storage::store();
        together->begin();
        for (int i = 0; i < receipts; ++i)
            closeReceipt(richSale(u"R-%1"_s.arg(i)));
        together->commit();
    }

    test_support::StillClock clock;
    std::shared_ptr<storage::Database> open = storage::store(); ///< as a till holds it
    storage::Retention retention{times};
};

TEST_F(Retention, RemovesAReceiptWithAllThatIsKnownOfItAfterItsTime)
{
    work(9);
    closeWithTraces(u"R-1"_s);
    EXPECT_EQ(placesOf(u"R-1"_s), tables);
    work(9);
    EXPECT_EQ(placesOf(u"R-1"_s), tables);
    work(1);
    EXPECT_EQ(placesOf(u"R-1"_s), u"card_records documents"_s) << "the journal's time is shorter";
    work(30);
    EXPECT_EQ(placesOf(u"R-1"_s), u"card_records documents"_s);
    work(1);
    EXPECT_EQ(placesOf(u"R-1"_s), u""_s);
}

TEST_F(Retention, OfAReceiptRemovesAJournalThatIsKeptForEverToo)
{
    retention = storage::Retention({.receipts = 40, .journal = 0});
    round();
    closeWithTraces(u"R-1"_s);
    work(40);
    EXPECT_EQ(placesOf(u"R-1"_s), tables);
    work(1);
    EXPECT_EQ(placesOf(u"R-1"_s), u""_s);
}

TEST_F(Retention, RemovesNothingThatIsToBeKeptForEver)
{
    retention = storage::Retention({.receipts = 0, .journal = 0});
    closeWithTraces(u"R-1"_s);
    work(1000);
    EXPECT_EQ(placesOf(u"R-1"_s), tables);
    retention = storage::Retention({.receipts = 0, .journal = 9});
    round();
    work(50);
    EXPECT_EQ(placesOf(u"R-1"_s), u"card_records documents"_s);
}

TEST_F(Retention, KeepsASaleWithItsReturnsAsLongAsTheYoungest)
{
    closeWithTraces(u"R-1"_s);
    work(30);
    closeReceipt(returnOf(u"R-1"_s, u"V-1"_s));
    work(40);
    EXPECT_EQ(placesOf(u"R-1"_s), u"card_records documents"_s);
    work(1);
    EXPECT_EQ(placesOf(u"R-1"_s), u""_s);
    EXPECT_EQ(placesOf(u"V-1"_s), u""_s);
}

TEST_F(Retention, RemovesAReturnWhoseSaleIsNotHere)
{
    closeReceipt(returnOf(u"R-1"_s, u"V-1"_s));
    work(41);
    EXPECT_EQ(placesOf(u"V-1"_s), u""_s);
}

TEST_F(Retention, KeepsTheOpenReceiptsJournalAndTheSaleThatItReturns)
{
    closeWithTraces(u"R-1"_s);
    closeReceipt(returnOf(u"R-1"_s, u"V-1"_s));
    note(u"V-2"_s, u"opened"_s);
    SaveToFileLogic().save(returnOf(u"R-1"_s, u"V-2"_s), {});
    work(100);
    EXPECT_EQ(placesOf(u"R-1"_s), tables);
    EXPECT_EQ(placesOf(u"V-1"_s), u"documents journal"_s);
    EXPECT_EQ(placesOf(u"V-2"_s), u"journal"_s);
    SaveToFileLogic::removeOpenReceipt();
    work(1);
    EXPECT_EQ(placesOf(u"R-1"_s) + placesOf(u"V-1"_s) + placesOf(u"V-2"_s), u""_s);
}

TEST_F(Retention, KeepsWhatAMessageStillWaitsForOrIsParked)
{
    closeWithTraces(u"R-1"_s);
    closeReceipt(returnOf(u"R-1"_s, u"V-1"_s));
    closeWithTraces(u"R-2"_s);
    const qint64 waiting = enqueue(u"R-1"_s);
    const qint64 parked = enqueue(u"R-2"_s);
    MessageQueue().park(parked, {.code = 400, .error = u"no"_s});
    work(100);
    EXPECT_EQ(placesOf(u"R-1"_s), tables);
    EXPECT_EQ(placesOf(u"V-1"_s), u"documents journal"_s);
    EXPECT_EQ(placesOf(u"R-2"_s), tables);
    MessageQueue().delivered(waiting, {});
    MessageQueue().drop(parked);
    work(1);
    EXPECT_EQ(placesOf(u"R-1"_s) + placesOf(u"V-1"_s) + placesOf(u"R-2"_s), u""_s);
}

TEST_F(Retention, KeepsTheJournalOfASpendingWhoseOutcomeWasNeverKnown)
{
    for (const QString& receipt : {u"R-1"_s, u"R-2"_s, u"R-3"_s}) {
        note(receipt, u"opened"_s);
        note(receipt, u"unknown"_s);
    }
    note(u"R-2"_s, u"abandoned"_s);
    note(u"R-3"_s, u"closed"_s);
    work(20);
    EXPECT_EQ(placesOf(u"R-1"_s), u"journal"_s);
    EXPECT_EQ(number(u"SELECT count(*) FROM journal"_s), 2);
}

TEST_F(Retention, GoesThroughTheStoreInSmallSteps)
{
    closeMany(35);
    work(40);
    clock.move(day);
    int before = 35;
    int steps = 1;
    for (; retention.step(); ++steps) {
        const int after = number(u"SELECT count(*) FROM documents"_s);
        EXPECT_LE(before - after, 10);
        before = after;
    }
    EXPECT_EQ(before, 0);
    EXPECT_GT(steps, 4);
    EXPECT_FALSE(retention.step()) << "not before the next day";
    clock.move(day - 1min);
    EXPECT_FALSE(retention.step());
    clock.move(1min);
    EXPECT_TRUE(retention.step());
}

TEST_F(Retention, OfALargeJournalRemovesAFewHundredRowsAtATime)
{
    storage::store()->atomically([] {
        for (int i = 0; i < 1200; ++i)
            note(u"R-%1"_s.arg(i / 10), u"request"_s);
    });
    work(9);
    clock.move(day);
    int before = 1200;
    while (retention.step()) {
        const int after = number(u"SELECT count(*) FROM journal"_s);
        EXPECT_LE(before - after, 500);
        before = after;
    }
    EXPECT_EQ(before, 0);
}

TEST_F(Retention, FindsOldEntriesBehindThoseOfAClockThatWasAheadOnce)
{
    clock.move(365 * day);
    note(u"R-1"_s, u"opened"_s);
    clock.move(-365 * day);
    for (int i = 0; i < 600; ++i)
        note(u"R-2"_s, u"opened"_s);
    work(10);
    EXPECT_EQ(placesOf(u"R-1"_s), u"journal"_s);
    EXPECT_EQ(placesOf(u"R-2"_s), u""_s);
}

TEST_F(Retention, OfOneKindDoubtsTheClockAfterAMonthWhereTheOtherIsKeptForEver)
{
    const test_support::LogCapture log(u"storage"_s);
    for (const storage::KeepingTimes one : {storage::KeepingTimes{.receipts = 40, .journal = 0},
                                            storage::KeepingTimes{.receipts = 0, .journal = 40}}) {
        retention = storage::Retention(one);
        clock.move(29 * day);
        round();
        EXPECT_TRUE(log.lines().filter(u"The clock went ahead"_s).isEmpty());
    }
}

TEST_F(Retention, RemovesNothingBecauseTheClockWentAhead)
{
    work(9);
    closeWithTraces(u"R-1"_s);
    const test_support::LogCapture log(u"storage"_s);
    clock.move(365 * day);
    round();
    note(u"R-2"_s, u"opened"_s); // the till goes on with it
    work(8);
    EXPECT_EQ(placesOf(u"R-1"_s), tables);
    EXPECT_THAT(log.lines(), testing::ElementsAre(
                                 u"warn: The clock went ahead from 2026-03-11T09:00:00Z to "
                                 "2027-03-11T09:00:00Z: until 2027-03-20T09:00:00Z nothing is removed for "
                                 "its age"_s));
    clock.move(-(365 + 8) * day);
    round();
    EXPECT_EQ(placesOf(u"R-1"_s), tables);
    work(10);
    EXPECT_EQ(placesOf(u"R-1"_s), u"card_records documents"_s) << "by the right clock it is time";
}

TEST_F(Retention, BelievesAClockThatStaysWhereItWent)
{
    work(9);
    closeWithTraces(u"R-1"_s);
    clock.move(365 * day); // a till of the season
    round();
    work(9);
    EXPECT_EQ(placesOf(u"R-1"_s), u""_s);
}

TEST_F(Retention, DoubtsAClockForAMonthAtMost)
{
    retention = storage::Retention({.receipts = 400, .journal = 90});
    closeWithTraces(u"R-1"_s);
    clock.move(29 * day);
    round();
    clock.move(2000 * day);
    round();
    work(29);
    EXPECT_EQ(placesOf(u"R-1"_s), tables);
    work(1);
    EXPECT_EQ(placesOf(u"R-1"_s), u""_s);
}

TEST_F(Retention, OfADayDoesNotTakeTheNextDaysRoundForAClockThatWentAhead)
{
    retention = storage::Retention({.receipts = 1, .journal = 1});
    closeWithTraces(u"R-1"_s);
    for (int done = 0; done < 4; ++done) {
        clock.move(25h);
        round();
    }
    EXPECT_EQ(placesOf(u"R-1"_s), u""_s);
}

TEST_F(Retention, LeavesNothingOfWhatItRemovedInAnyFile)
{
    closeWithTraces(u"R-1"_s);
    SaveToFileLogic().save(richSale(u"R-1"_s), {});
    SaveToFileLogic::removeOpenReceipt();
    EXPECT_THAT(test_support::filesWith(path(), u"2000000000017"_s), Contains(u"till.sqlite-wal"_s));
    work(41);
    EXPECT_EQ(placesOf(u"R-1"_s), u""_s);
    EXPECT_EQ(test_support::filesWith(path(), u"2000000000017"_s), QStringList());
    EXPECT_TRUE(bytes(u"till.sqlite-wal"_s).isEmpty()) << "while the store is open";
    EXPECT_EQ(test_support::filesWith(path(), u"Иванова Анна"_s), QStringList());
}

TEST_F(Retention, EmptiesTheLogOnceNobodyReadsItAnyMore)
{
    closeWithTraces(u"R-1"_s);
    work(40);
    clock.move(day);
    {
        const test_support::RawDatabase reader(path(u"till.sqlite"_s));
        reader.run(u"BEGIN"_s);
        reader.run(u"SELECT count(*) FROM documents"_s);
        round();
        EXPECT_EQ(placesOf(u"R-1"_s), u""_s);
        EXPECT_NE(test_support::filesWith(path(), u"2000000000017"_s), QStringList());
        reader.run(u"COMMIT"_s);
    }
    EXPECT_EQ(number(u"PRAGMA busy_timeout"_s), 2000) << "a cashier's step waits for others as before";
    EXPECT_FALSE(retention.step()) << "it waits a while";
    clock.move(10min);
    round();
    EXPECT_EQ(test_support::filesWith(path(), u"2000000000017"_s), QStringList());
}

TEST_F(Retention, GivesTheRoomBackToTheDisk)
{
    closeMany(4000);
    work(1);
    const qint64 full = QFileInfo(path(u"till.sqlite"_s)).size();
    const test_support::LogCapture log(u"storage"_s);
    work(40);
    EXPECT_THAT(log.lines().filter(u"Kept long enough, and removed: "_s).join(u'\n').toStdString(),
                ::testing::MatchesRegex(".*removed: 4000 receipts, 0 entries of journal and queue"))
        << "told once, and of no day on which nothing was";
    EXPECT_EQ(number(u"SELECT count(*) FROM documents"_s), 0);
    EXPECT_LE(number(u"PRAGMA freelist_count"_s), 512) << "a busy day's";
    const qint64 left = QFileInfo(path(u"till.sqlite"_s)).size();
    EXPECT_LT(left, qint64{3} * 1024 * 1024);
    EXPECT_GT(full, 2 * left);
}

TEST_F(Retention, WorksOnAFileThatWasMadeToKeepItsRoom)
{
    open.reset();
    {
        const test_support::RawDatabase raw(path(u"till.sqlite"_s));
        raw.run(u"PRAGMA auto_vacuum=NONE"_s);
        raw.run(u"VACUUM"_s);
    }
    open = storage::store();
    ASSERT_EQ(number(u"PRAGMA auto_vacuum"_s), 0);
    closeMany(2000);
    work(41);
    EXPECT_GT(number(u"PRAGMA freelist_count"_s), 512);
    EXPECT_EQ(number(u"SELECT count(*) FROM documents"_s), 0);
}

TEST_F(Retention, RemovesNothingWhileTheOpenReceiptCannotBeRead)
{
    closeWithTraces(u"R-1"_s);
    work(40);
    SaveToFileLogic().save(richSale(u"R-2"_s), {});
    flipABit(u"open_receipt"_s, u"content"_s, u"1"_s);
    const test_support::LogCapture log(u"storage"_s);
    work(1);
    EXPECT_EQ(placesOf(u"R-1"_s), u"card_records documents"_s);
    EXPECT_THAT(log.lines().join(u'\n').toStdString(),
                HasSubstr("warn: What is kept too long cannot be removed for now: "));
    SaveToFileLogic::removeOpenReceipt();
    clock.move(10min);
    round();
    EXPECT_EQ(placesOf(u"R-1"_s), u""_s);
}

} // namespace
