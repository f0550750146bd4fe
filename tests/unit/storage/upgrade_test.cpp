#include "host/queue/messagequeue.h"
#include "host/storage/documentcodec.h"
#include "host/storage/documents.h"
#include "host/storage/store.h"
#include "tests/unit/storage/documents.h"
#include "tests/unit/storage/scene.h"

#include <gmock/gmock.h>

#include <sys/wait.h>

using namespace Qt::StringLiterals;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

/// A data directory as the version before the one file left it, killed while a part was only in its logs.
class Upgrade : public test_support::Storage
{
protected:
    Upgrade() { layOut(path()); }

    static void layOut(const QString& directory)
    {
        makePrivate(directory);
        const QDir from(QStringLiteral(KYR_TEST_DATA "/version1"));
        for (const QString& name : from.entryList(QDir::Files)) {
            const QString to = directory + u'/' + name;
            QFile::remove(to);
            ASSERT_TRUE(QFile::copy(from.filePath(name), to));
            ASSERT_EQ(chmod(QFile::encodeName(to).constData(), 0600), 0);
        }
    }
    static QVariantMap message(const QString& receipt, int number)
    {
        return {{u"method"_s, u"POST"_s},
                {u"url"_s, u"http://service.example/v2/clients/points/earn"_s},
                {u"headers"_s, QVariantMap{{u"Authorization"_s, u"Basic bm9ib2R5Om5vdGhpbmc="_s}}},
                {u"body"_s, u"{\"receipt_number\":\"%1\",\"n\":%2}"_s.arg(receipt).arg(number).toUtf8()},
                {u"timeout"_s, 10}};
    }
    static QList<QVariantList> history()
    {
        const auto store = utils::store();
        QSqlQuery query = store->prepared(
            u"SELECT id, receipt, text, attempts, error, outcome, answer, message IS NOT NULL, "
            "finished >= enqueued FROM history ORDER BY id"_s);
        return store->rows(query);
    }
    static void expectEverything()
    {
        MessageQueue queue;
        const QList<QueuedMessage> found = queue.messages(100);
        ASSERT_EQ(found.size(), 4);
        QList<qint64> ids;
        QStringList groups;
        for (const QueuedMessage& one : found) {
            ids.append(one.id);
            groups.append(one.group);
            EXPECT_EQ(one.queue, u"kyrloyalty"_s);
            EXPECT_FALSE(one.damaged);
            EXPECT_TRUE(one.enqueued.isValid());
        }
        EXPECT_THAT(ids, ElementsAre(3, 4, 5, 6));
        EXPECT_THAT(groups, ElementsAre(u"R-2"_s, u"R-2"_s, QString(), u"R-3"_s));
        EXPECT_EQ(found[0].message, message(u"R-2"_s, 3));
        EXPECT_EQ(found[0].state, QueuedMessage::State::Parked);
        EXPECT_EQ(found[0].lastError, u"Карта не найдена"_s);
        EXPECT_EQ(found[1].text, u"refusal of R-2"_s);
        EXPECT_EQ(found[2].attempts, 2);
        EXPECT_EQ(found[2].lastError, u"no answer in time"_s);
        EXPECT_EQ(found[3].message, message(u"R-3"_s, 6)) << "it was only in the log";
        EXPECT_EQ(queue.waitingCount(), 3);
        EXPECT_EQ(queue.parkedCount(), 1);

        const QVariant none(QMetaType::fromType<QString>());
        const QList<QVariantList> finished = history();
        ASSERT_EQ(finished.size(), 3);
        EXPECT_EQ(finished[0], QVariantList({1, u"R-1"_s, u"earning of R-1"_s, 1,
                                             u"no connection to the service"_s, u"delivered"_s, 0, 0, 1}));
        EXPECT_EQ(finished[1][5], u"dropped"_s);
        EXPECT_TRUE(finished[1][6].isNull());
        EXPECT_EQ(finished[1][7], 1) << "a dropped message is kept whole";
        EXPECT_EQ(finished[2][0], 7);

        DocumentsDao dao;
        const auto sale = dao.loadDocument(u"R-1"_s, false).dynamicCast<Document>();
        ASSERT_NE(sale, nullptr);
        EXPECT_EQ(sale->getCardRecord(12)->getOperationId(), u"second"_s);
        const auto record = sale->getCardRecord(12);
        EXPECT_EQ(record->storedPlace().revision, 2);
        const auto plain = dao.loadDocument(u"R-2"_s, false).dynamicCast<Document>();
        ASSERT_NE(plain, nullptr);
        EXPECT_EQ(documentcodec::written(*plain), documentcodec::written(*richSale(u"R-2"_s)));
        const auto open = SaveToFileLogic::loadOpenReceipt();
        ASSERT_NE(open, nullptr);
        EXPECT_EQ(documentcodec::written(*open), documentcodec::written(*richSale(u"R-4"_s)));
    }
    /// As the version before did it: nothing beside the document told what it returns.
    void closeAReturnInTheFormerFile(const QString& identifier, const QString& sale) const
    {
        const utils::Database receipts(path(u"receipts.sqlite"_s), {0x4B595272, 1, {}, {}, {}});
        const auto document = QSharedPointer<Document>::create(ReturnReceipt, identifier);
        document->setSaleDocumentId(sale);
        QSqlQuery count = receipts.prepared(u"SELECT max(stored) FROM documents"_s);
        const qint64 last = receipts.rows(count).value(0).value(0).toLongLong();
        QSqlQuery insert =
            receipts.prepared(u"INSERT INTO documents (identifier, stored, content) VALUES (?, ?, ?)"_s);
        receipts.change(insert, {identifier, last + 1, documentcodec::written(*document)});
    }
    static QStringList returnsOf(const QString& sale)
    {
        DocumentsDao dao;
        QStringList identifiers;
        for (const auto& document : dao.returnsOf(sale))
            identifiers.append(document->getIdentifier());
        return identifiers;
    }
    [[nodiscard]] QStringList names() const { return QDir(path()).entryList(QDir::Files); }
};

TEST_F(Upgrade, TakesOverEverythingAndKeepsTheFormerFiles)
{
    expectEverything();
    EXPECT_THAT(names(), ElementsAre(u"open-receipt"_s, u"queue.sqlite.imported"_s,
                                     u"receipts.sqlite.imported"_s, u"till.sqlite"_s));
    expectEverything();
}

TEST_F(Upgrade, NeverGivesAnIdThatWasGivenBefore)
{
    EXPECT_EQ(MessageQueue().enqueue(u"q"_s, {}, {}, {}), 8) << "7 was delivered";
}

TEST_F(Upgrade, GoesOnCountingWhenTheFormerQueueWasEmpty)
{
    {
        const utils::Database queue(path(u"queue.sqlite"_s), {0x4B595271, 1, {}, {}, {}});
        QSqlQuery remove = queue.prepared(u"DELETE FROM queued"_s);
        queue.change(remove, {});
    }
    EXPECT_EQ(MessageQueue().enqueue(u"q"_s, {}, {}, {}), 8);
}

TEST_F(Upgrade, TakesABackWrittenRecordOnTopOfTheImportedRevision)
{
    DocumentsDao dao;
    const auto record = dao.loadDocument(u"R-1"_s, false)->getCardRecord(12);
    record->setOperationId(u"third"_s);
    EXPECT_NO_THROW(dao.saveCardRecord(record));
}

TEST_F(Upgrade, FindsTheReturnsOfASaleThatNobodyHadNotedBefore)
{
    closeAReturnInTheFormerFile(u"V-1"_s, u"R-1"_s);
    closeAReturnInTheFormerFile(u"V-2"_s, u"R-2"_s);
    closeAReturnInTheFormerFile(u"V-0"_s, u"R-1"_s);
    EXPECT_THAT(returnsOf(u"R-1"_s), ElementsAre(u"V-1"_s, u"V-0"_s)) << "in the order of closing";
    EXPECT_THAT(returnsOf(u"R-2"_s), ElementsAre(u"V-2"_s));
    EXPECT_THAT(returnsOf({}), IsEmpty()) << "a sale is no return of a nameless one";

    const auto later = QSharedPointer<Document>::create(ReturnReceipt, u"V-3"_s);
    later->setSaleDocumentId(u"R-1"_s);
    DocumentsDao().store(later);
    EXPECT_THAT(returnsOf(u"R-1"_s), ElementsAre(u"V-1"_s, u"V-0"_s, u"V-3"_s));
}

TEST_F(Upgrade, WithOnlyOneFormerFileTakesThatOne)
{
    for (const QString& name : {u"receipts.sqlite"_s, u"receipts.sqlite-wal"_s})
        ASSERT_TRUE(QFile::remove(path(name)));
    EXPECT_EQ(MessageQueue().waitingCount(), 3);
    EXPECT_EQ(DocumentsDao().loadDocument(u"R-1"_s, false), nullptr);
}

TEST_F(Upgrade, PassesOverAFormerFileWhoseMakingWasInterrupted)
{
    ASSERT_TRUE(QFile::remove(path(u"queue.sqlite-wal"_s)));
    overwrite(u"queue.sqlite"_s, {});
    EXPECT_EQ(MessageQueue().waitingCount(), 0);
    EXPECT_NE(DocumentsDao().loadDocument(u"R-1"_s, false), nullptr);
}

TEST_F(Upgrade, FromADamagedFileIsRefusedAndNothingIsChanged)
{
    overwrite(u"queue.sqlite"_s, QByteArray(8192, 'x'));
    const QByteArray receipts = bytes(u"receipts.sqlite"_s);
    const QByteArray log = bytes(u"receipts.sqlite-wal"_s);
    EXPECT_EQ(failure([] { utils::store(); }), u"hostStorageDamaged"_s);
    EXPECT_EQ(bytes(u"queue.sqlite"_s), QByteArray(8192, 'x'));
    EXPECT_EQ(bytes(u"receipts.sqlite"_s), receipts);
    EXPECT_EQ(bytes(u"receipts.sqlite-wal"_s), log);
    EXPECT_THAT(names(), testing::Not(testing::Contains(u"till.sqlite"_s)));
}

TEST_F(Upgrade, OnAFullDiskIsRefusedAndSucceedsOnceThereIsRoom)
{
    for (const qint64 room : {1024, 4096, 20000, 40000}) {
        const test_support::FullDisk full(room);
        EXPECT_EQ(failure([] { utils::store(); }), u"hostStorageFull"_s) << room;
        EXPECT_EQ(names().filter(u"till.sqlite"_s), QStringList()) << room;
    }
    expectEverything();
}

TEST_F(Upgrade, InterruptedBeforeTheFormerFilesWereSetAsideTakesNothingTwice)
{
    utils::store();
    ASSERT_TRUE(QFile::rename(path(u"queue.sqlite.imported"_s), path(u"queue.sqlite"_s)));
    expectEverything();
    EXPECT_FALSE(QFile::exists(path(u"queue.sqlite"_s)));
}

TEST_F(Upgrade, KilledAtAnyMomentLosesAndDoublesNothing)
{
    // The whole of it takes a few milliseconds; the kills are spread over them.
    for (int delay = 0; delay < 20000; delay += 400) {
        const QString directory = path(QString::number(delay));
        layOut(directory);
        utils::setDataDirectory(directory);
        const pid_t child = fork();
        ASSERT_GE(child, 0);
        if (child == 0) {
            utils::store();
            pause();
        }
        usleep(static_cast<useconds_t>(delay));
        kill(child, SIGKILL);
        ASSERT_EQ(waitpid(child, nullptr, 0), child);
        expectEverything();
        EXPECT_THAT(QDir(directory).entryList(QDir::Files),
                    ElementsAre(u"open-receipt"_s, u"queue.sqlite.imported"_s, u"receipts.sqlite.imported"_s,
                                u"till.sqlite"_s))
            << delay;
    }
}

} // namespace
