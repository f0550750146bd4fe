#include "tests/unit/shop/scene.h"

#include "host/storage/transaction.h"
#include "tests/support/logcapture.h"

#include <QSqlDriver>

#include <gmock/gmock.h>
#include <sqlite3.h>

#include <functional>
#include <future>
#include <stdexcept>
#include <thread>

using namespace Qt::StringLiterals;
using ::testing::ElementsAre;

namespace test_support {

namespace {

/// The receipts that can't move on from where the test works.
QStringList told()
{
    QStringList lines;
    for (const shop::StuckReceipt& stuck : shop::stuckReceipts())
        lines.append(stuck.receipt + u" of "_s + stuck.till);
    return lines;
}

/// While it lives, this thread does that, once, when its store has to wait for another's transaction, instead
/// of waiting.
class WhenItWaits
{
public:
    explicit WhenItWaits(std::function<void()> what)
        : m_what(std::move(what))
    {
        sqlite3_busy_handler(
            m_store, [](void* self, int times) { return static_cast<WhenItWaits*>(self)->act(times); }, this);
    }
    ~WhenItWaits() { sqlite3_busy_timeout(m_store, 2000); }
    WhenItWaits(const WhenItWaits&) = delete;
    WhenItWaits& operator=(const WhenItWaits&) = delete;

private:
    int act(int times)
    {
        if (times == 0)
            m_what();
        return times == 0 ? 1 : 0;
    }
    static sqlite3* storeOfThisThread()
    {
        const QString path = storage::store()->path();
        for (const QString& name : QSqlDatabase::connectionNames()) {
            const QSqlDatabase database = QSqlDatabase::database(name, false);
            const QVariant handle = database.driver()->handle();
            if (database.databaseName() == path && handle.isValid())
                return *static_cast<sqlite3* const*>(handle.constData());
        }
        throw std::runtime_error("the store is not open");
    }

    std::function<void()> m_what;
    sqlite3* m_store = storeOfThisThread();
};

} // namespace

TEST_F(Shop, TakesReceiptCardsJournalAndMessagesOverAndNothingIsLeft)
{
    closeReceipt(richSale(u"R-1"_s));
    enqueue(u"R-1"_s);
    const auto sale = DocumentsDao().loadDocument(u"R-1"_s, false);
    DocumentsDao().saveCardRecord(sale->getCardRecord(KyrLoyaltySystem));
    moveOn();
    EXPECT_EQ(server.sql(u"SELECT identifier, till, sale FROM kyr.documents"_s), u"R-1|1|");
    EXPECT_EQ(server.sql(u"SELECT document, kind, revision FROM kyr.card_records"_s), u"R-1|12|1");
    EXPECT_EQ(server.sql(u"SELECT event FROM kyr.journal ORDER BY id"_s), u"closed\nqueued");
    EXPECT_EQ(server.sql(u"SELECT till, receipt, text, parked, attempts FROM kyr.queued"_s),
              u"1|R-1|text|f|0");
    const RawDatabase own(path(u"till.sqlite"_s));
    for (const char* table : {"documents", "card_records", "queued", "journal", "moving"})
        EXPECT_EQ(own.run(u"SELECT count(*) FROM "_s + QLatin1StringView(table))[0][0].toInt(), 0) << table;
    EXPECT_EQ(MessageQueue().waitingCount(), 0);
}

TEST_F(Shop, KeepsTheOrderOfTheMessages)
{
    for (int i = 0; i < 300; ++i) // more than go at once
        enqueue(u"R-%1"_s.arg(i % 7), QByteArray::number(i));
    const QList<QueuedMessage> before = MessageQueue().messages(300);
    moveOn();
    shop::ShopQueue queue(server.address());
    const QList<QueuedMessage> after = queue.messages(300);
    ASSERT_EQ(after.size(), before.size());
    for (qsizetype i = 0; i < after.size(); ++i) {
        EXPECT_EQ(after[i].message, before[i].message);
        EXPECT_EQ(after[i].group, before[i].group);
        EXPECT_EQ(after[i].enqueued, before[i].enqueued);
    }
}

/// A till closes it just after it was looked for messages, and before it was looked for receipts.
TEST_F(Shop, TakesNoReceiptBeforeItsMessagesThoughItIsClosedMeanwhile)
{
    shop::Moving moving(u"1"_s, database);
    std::promise<void> closing;
    std::promise<void> waiting;
    std::thread till;
    bool hasWaited = false;
    {
        const WhenItWaits itIsClosed([&] {
            hasWaited = true;
            waiting.set_value();
            till.join();
        });
        till = std::thread([&] {
            storage::Transaction transaction;
            closeReceipt(richSale(u"R-1"_s));
            enqueue(u"R-1"_s);
            closing.set_value();
            waiting.get_future().wait();
            transaction.commit();
        });
        closing.get_future().wait();
        EXPECT_FALSE(moving.step());
    }
    ASSERT_TRUE(hasWaited);
    const auto arrived = [this] {
        return server.sql(
            u"SELECT (SELECT count(*) FROM kyr.queued), (SELECT count(*) FROM kyr.documents)"_s);
    };
    EXPECT_EQ(arrived(), u"0|0");
    EXPECT_TRUE(moving.step());
    EXPECT_EQ(arrived(), u"1|0");
    EXPECT_TRUE(moving.step());
    EXPECT_EQ(arrived(), u"1|1");
}

TEST_F(Shop, TakesOverAJournalHoweverLongItIs)
{
    closeReceipt(richSale(u"R-1"_s));
    for (int i = 0; i < 1200; ++i) // more than go at once
        note(u"R-1"_s, QString::number(i));
    moveOn();
    EXPECT_EQ(server.sql(u"SELECT count(*), count(DISTINCT event) FROM kyr.journal"_s), u"1201|1201");
    EXPECT_EQ(server.sql(u"SELECT event FROM kyr.journal ORDER BY id DESC LIMIT 1"_s), u"1199");
}

/// As a till does that was killed after the database had all of it.
TEST_F(Shop, HasEverythingOnceThoughItIsMovedTwice)
{
    closeReceipt(richSale(u"R-1"_s));
    enqueue(u"R-1"_s);
    note(u"abandoned"_s, u"abandoned"_s);
    const QByteArray store = bytes(u"till.sqlite"_s);
    const QByteArray log = bytes(u"till.sqlite-wal"_s);
    moveOn();
    const auto counts = [this] {
        return server.sql(u"SELECT (SELECT count(*) FROM kyr.documents), (SELECT count(*) FROM kyr.journal), "
                          "(SELECT count(*) FROM kyr.queued)"_s);
    };
    const QString once = counts();
    EXPECT_EQ(once, u"1|3|1");
    const QString again = outer().filePath(u"again"_s);
    makePrivate(again);
    storage::setDataDirectory(again);
    for (const auto& [name, content] :
         {std::pair(u"till.sqlite"_s, store), std::pair(u"till.sqlite-wal"_s, log)}) {
        QFile file(again + u'/' + name);
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(content);
        file.setPermissions(QFile::ReadOwner | QFile::WriteOwner);
    }
    moveOn();
    EXPECT_EQ(counts(), once);
    EXPECT_EQ(MessageQueue().waitingCount(), 0);
}

/// A till's store was restored, and what had moved on then has been delivered since.
TEST_F(Shop, DoesNotTakeAMessageAgainThatWasDelivered)
{
    enqueue(u"R-1"_s);
    const QVariantMap message = MessageQueue().messages(1)[0].message;
    moveOn();
    shop::ShopQueue queue(server.address());
    EXPECT_TRUE(queue.delivered(queue.lastId(), {}));
    RawDatabase(path(u"till.sqlite"_s)).run(u"DELETE FROM journal"_s);
    MessageQueue().enqueue(u"kyrloyalty"_s, u"R-1"_s, message, u"text"_s);
    RawDatabase own(path(u"till.sqlite"_s));
    own.run(u"UPDATE queued SET enqueued = %1"_s.arg(server.sql(u"SELECT enqueued FROM kyr.history"_s)));
    moveOn();
    EXPECT_EQ(queue.waitingCount(), 0);
    EXPECT_EQ(server.sql(u"SELECT count(*) FROM kyr.history"_s), u"1");
}

TEST_F(Shop, LeavesTheReceiptThatIsOpenAndTheSaleThatItReturns)
{
    closeReceipt(richSale(u"R-1"_s));
    closeReceipt(richSale(u"R-2"_s));
    SaveToFileLogic().save(returnOf(u"R-1"_s, u"V-1"_s), {});
    note(u"V-1"_s, u"opened"_s);
    enqueue(u"R-1"_s);
    moveOn();
    EXPECT_EQ(server.sql(u"SELECT identifier FROM kyr.documents"_s), u"R-2");
    EXPECT_TRUE(DocumentsDao().contains(u"R-1"_s));
    EXPECT_EQ(storage::Journal().of(u"V-1"_s).size(), 1);
    EXPECT_EQ(MessageQueue().waitingCount(), 0) << "its messages go all the same";
    SaveToFileLogic::removeOpenReceipt();
    moveOn();
    EXPECT_EQ(server.sql(u"SELECT identifier FROM kyr.documents ORDER BY 1"_s), u"R-1\nR-2");
}

/// Else nobody would know at this till what has come back of the sale.
TEST_F(Shop, LeavesTheClosedReturnsOfASaleThatStays)
{
    closeReceipt(richSale(u"R-1"_s));
    closeReceipt(returnOf(u"R-1"_s, u"V-1"_s));
    SaveToFileLogic().save(returnOf(u"R-1"_s, u"V-2"_s), {});
    note(u"V-2"_s, u"opened"_s);
    moveOn();
    EXPECT_EQ(server.sql(u"SELECT identifier FROM kyr.documents"_s), QString());
    EXPECT_EQ(shop::ShopDocuments(u"1"_s, server.address()).returnsOf(u"R-1"_s).size(), 1);
    EXPECT_EQ(storage::Journal().of(u"V-1"_s).size(), 1);
}

TEST_F(Shop, TakesASaleAndItsReturnsIntoTheMonthOfTheSale)
{
    closeReceipt(richSale(u"R-1"_s));
    closeReceipt(returnOf(u"R-1"_s, u"V-1"_s));
    RawDatabase(path(u"till.sqlite"_s))
        .run(u"UPDATE documents SET stored = CASE sale WHEN '' THEN 1706659200000 ELSE 1709251200000 END"_s);
    moveOn();
    EXPECT_EQ(server.sql(u"SELECT tableoid::regclass, identifier FROM kyr.documents ORDER BY 2"_s),
              u"kyr.documents_2024_01|R-1\nkyr.documents_2024_01|V-1");
    closeReceipt(returnOf(u"R-1"_s, u"V-2"_s)); // of a sale that is there already
    moveOn();
    EXPECT_EQ(server.sql(u"SELECT tableoid::regclass FROM kyr.documents WHERE identifier = 'V-2'"_s),
              u"kyr.documents_2024_01");
}

TEST_F(Shop, LeavesAReceiptOfWhichTheDatabaseHasAnotherAndMovesTheRest)
{
    closeReceipt(richSale(u"R-1"_s));
    moveOn(u"1"_s);
    workAt(u"second"_s);
    closeReceipt(richSale(u"R-0"_s));
    closeReceipt(richSale(u"R-1"_s));
    closeReceipt(richSale(u"R-2"_s));
    const LogCapture log(u"shop"_s);
    shop::Moving moving(u"2"_s, database);
    while (moving.step()) {
    }
    EXPECT_EQ(moving.stuck(), QStringList{u"R-1"_s});
    ASSERT_EQ(log.lines().size(), 1);
    EXPECT_TRUE(log.lines().first().startsWith(u"error: Receipt R-1 stays at this till: "_s));
    EXPECT_EQ(server.sql(u"SELECT identifier, till FROM kyr.documents ORDER BY 1"_s), u"R-0|2\nR-1|1\nR-2|2");
    EXPECT_TRUE(DocumentsDao().contains(u"R-1"_s));
    EXPECT_EQ(server.sql(u"SELECT count(*) FROM kyr.documents"_s), u"3");
}

TEST_F(Shop, KnowsWhichReceiptsCannotMoveOnAndBecauseOfWhichTill)
{
    EXPECT_TRUE(told().isEmpty());
    for (const QString& identifier : {u"R-1"_s, u"V-2"_s})
        closeReceipt(richSale(identifier));
    moveOn(u"1"_s);
    workAt(u"second"_s);
    for (const QString& identifier : {u"R-1"_s, u"R-2"_s, u"R-3"_s})
        closeReceipt(richSale(identifier));
    closeReceipt(returnOf(u"R-2"_s, u"V-2"_s));
    EXPECT_TRUE(told().isEmpty()) << "nobody has tried";
    moveOn(u"2"_s);
    EXPECT_THAT(told(), ElementsAre(u"R-1 of 1"_s, u"V-2 of 1"_s));
    EXPECT_EQ(server.sql(u"SELECT identifier FROM kyr.documents WHERE till = '2'"_s), u"R-3");
    moveOn(u"2"_s);
    EXPECT_THAT(told(), ElementsAre(u"R-1 of 1"_s, u"V-2 of 1"_s));
}

TEST_F(Shop, MovesAReceiptOnOnceItsIdentifierIsFree)
{
    closeReceipt(richSale(u"R-1"_s));
    moveOn(u"1"_s);
    workAt(u"second"_s);
    closeReceipt(richSale(u"R-1"_s));
    moveOn(u"2"_s);
    server.sql(u"DELETE FROM kyr.documents"_s);
    moveOn(u"2"_s);
    EXPECT_TRUE(told().isEmpty());
    EXPECT_EQ(server.sql(u"SELECT till FROM kyr.documents"_s), u"2");
}

TEST_F(Shop, TellsOfNoReceiptThatWasRemovedSince)
{
    closeReceipt(richSale(u"R-1"_s));
    moveOn(u"1"_s);
    workAt(u"second"_s);
    closeReceipt(richSale(u"R-1"_s));
    moveOn(u"2"_s);
    RawDatabase(storage::store()->path()).run(u"DELETE FROM documents"_s);
    EXPECT_TRUE(told().isEmpty());
}

TEST_F(Shop, IsMissedAndEverythingStaysAtTheTill)
{
    Postgres away;
    shop::Connection gone(away.address());
    shop::prepare(gone);
    closeReceipt(richSale(u"R-1"_s));
    enqueue(u"R-1"_s);
    away.kill();
    shop::Moving moving(u"1"_s, gone);
    for (int i = 0; i < 2; ++i)
        EXPECT_THROW(moving.step(), shop::DatabaseError);
    EXPECT_EQ(MessageQueue().waitingCount(), 1);
    EXPECT_TRUE(DocumentsDao().contains(u"R-1"_s));
    away.start();
    while (moving.step()) {
    }
    EXPECT_EQ(away.sql(u"SELECT count(*) FROM kyr.documents"_s), u"1");
    EXPECT_EQ(away.sql(u"SELECT count(*) FROM kyr.queued"_s), u"1");
}

TEST_F(Shop, TakesParkedMessagesWithWhatBecameOfThem)
{
    enqueue(u"R-1"_s);
    enqueue(u"R-1"_s);
    MessageQueue own;
    EXPECT_TRUE(own.park(1, {.code = 404, .error = u"no such card"_s}));
    EXPECT_TRUE(own.failed(2, {.code = 500, .error = u"busy"_s}, QDateTime::fromMSecsSinceEpoch(5'000)));
    moveOn();
    EXPECT_EQ(server.sql(u"SELECT parked, attempts, error, due FROM kyr.queued ORDER BY id"_s),
              u"t|1|no such card|0\nf|1|busy|5000");
}

TEST_F(Shop, TakesTheHistoryOfMessagesThatATillHasDeliveredItself)
{
    closeReceipt(richSale(u"R-1"_s));
    enqueue(u"R-1"_s);
    enqueue(u"R-1"_s);
    EXPECT_TRUE(MessageQueue().delivered(1, {}));
    EXPECT_TRUE(MessageQueue().drop(2));
    moveOn();
    EXPECT_EQ(
        server.sql(
            u"SELECT till, receipt, outcome, answer, message IS NULL FROM kyr.history ORDER BY outcome"_s),
        u"1|R-1|delivered|0|t\n1|R-1|dropped||f");
}

/// It had it alone when its power went: who finds it there again is not to rely on it before the standby has
/// it.
TEST_F(Shop, LeavesNothingToADatabaseAloneThatHasAStandby)
{
    Postgres primary;
    {
        shop::Connection owner(primary.address());
        shop::prepare(owner);
    }
    const auto standby = primary.makeStandby();
    shop::Connection away(primary.address(), {.statement = std::chrono::milliseconds(500)});
    shop::Moving moving(u"1"_s, away);
    closeReceipt(richSale(u"R-1"_s));
    enqueue(u"R-1"_s);
    EXPECT_TRUE(moving.step()); // the message
    standby->freeze();
    EXPECT_THROW(moving.step(), shop::DatabaseError);
    primary.kill();
    primary.start();
    EXPECT_EQ(primary.sql(u"SELECT identifier FROM kyr.documents"_s), u"R-1");
    EXPECT_THROW(moving.step(), shop::DatabaseError);
    EXPECT_TRUE(DocumentsDao().contains(u"R-1"_s));
}

/// It still waits for a standby, which follows it no more.
TEST_F(Shop, LeavesNothingToAFormerPrimaryThatComesBackBesideItsSuccessor)
{
    Postgres former;
    {
        shop::Connection owner(former.address());
        shop::prepare(owner);
    }
    const auto successor = former.makeStandby();
    former.kill();
    successor->promote();
    former.start();
    shop::Connection first(former.addressWith(*successor), {.statement = std::chrono::milliseconds(500)});
    shop::Moving moving(u"1"_s, first);
    closeReceipt(richSale(u"R-1"_s));
    enqueue(u"R-1"_s);
    EXPECT_THROW(moving.step(), shop::DatabaseError) << "that one may be written to, and is asked first";
    EXPECT_EQ(MessageQueue().waitingCount(), 1);
    former.kill();
    EXPECT_TRUE(moving.step());
    EXPECT_TRUE(moving.step());
    EXPECT_EQ(successor->sql(u"SELECT identifier FROM kyr.documents"_s), u"R-1");
    EXPECT_EQ(successor->sql(u"SELECT count(*) FROM kyr.queued"_s), u"1");
}

} // namespace test_support
