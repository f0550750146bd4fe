#include "host/queue/dbqueuebroker.h"
#include "host/queue/messagequeue.h"
#include "tests/unit/storage/scene.h"

#include <QProcess>

#include <gmock/gmock.h>

using namespace Qt::StringLiterals;
using testing::ElementsAre;

namespace {

class Broker : public test_support::Storage
{
protected:
    void enqueue(int number = 1)
    {
        broker.enqueue(u"kyrloyalty"_s, {{u"number"_s, number}, {u"body"_s, QByteArray(2000, 'x')}}, {});
    }
    /// What somebody who opens the queue anew finds.
    static QList<int> numbers()
    {
        QList<int> result;
        for (const QueuedMessage& message : MessageQueue().messages(100000))
            result.append(message.message.value(u"number"_s).toInt());
        return result;
    }

    DBQueueBroker broker;
};

TEST_F(Broker, KeepsMessagesInOrderForWhoeverOpensTheQueue)
{
    for (const int number : {1, 2, 3})
        enqueue(number);
    EXPECT_THAT(numbers(), ElementsAre(1, 2, 3));
}

TEST_F(Broker, OpensNothingBeforeTheFirstMessage) { EXPECT_FALSE(QFile::exists(path())); }

TEST_F(Broker, LeavesItsFilesToTheirOwnerAloneWhateverTheUmask)
{
    umask(0);
    enqueue();
    EXPECT_EQ(mode(path()), 0700U);
    EXPECT_THAT(modes(),
                ElementsAre(u"till.sqlite 600"_s, u"till.sqlite-shm 600"_s, u"till.sqlite-wal 600"_s));
}

TEST_F(Broker, NotesTheReceiptThatTheHostNames)
{
    QString receipt = u"R-1"_s;
    auto source = DBQueueBroker::registerGroupSource([&receipt] { return receipt; });
    enqueue();
    receipt = u"R-2"_s;
    enqueue();
    source = {};
    enqueue();
    const QList<QueuedMessage> found = MessageQueue().messages(10);
    ASSERT_EQ(found.size(), 3);
    EXPECT_EQ(found[0].group, u"R-1"_s);
    EXPECT_EQ(found[1].group, u"R-2"_s);
    EXPECT_EQ(found[2].group, QString());
}

TEST_F(Broker, RefusesASecondWhoWouldNameReceiptsAndKeepsTheFirst)
{
    auto first = DBQueueBroker::registerGroupSource([] { return u"R-1"_s; });
    try {
        const auto second = DBQueueBroker::registerGroupSource([] { return u"R-2"_s; });
        FAIL() << "the first would be pushed out";
    } catch (const std::logic_error& refusal) {
        EXPECT_THAT(refusal.what(), testing::HasSubstr("source of the queue's groups"));
    }
    enqueue();
    first = {};
    const auto next = DBQueueBroker::registerGroupSource([] { return u"R-3"_s; });
    enqueue();
    const QList<QueuedMessage> found = MessageQueue().messages(10);
    ASSERT_EQ(found.size(), 2);
    EXPECT_EQ(found[0].group, u"R-1"_s);
    EXPECT_EQ(found[1].group, u"R-3"_s);
}

TEST_F(Broker, WithoutADataDirectoryRefusesUntilThereIsOne)
{
    storage::setDataDirectory({});
    EXPECT_EQ(failure([this] { enqueue(); }), u"hostDataDirectoryUnset"_s);
    storage::setDataDirectory(path());
    enqueue(2);
    EXPECT_THAT(numbers(), ElementsAre(2));
}

TEST_F(Broker, OnAFullDiskRefusesAndKeepsNothingHalf)
{
    enqueue(1);
    QString told;
    {
        const test_support::FullDisk full(bytes(u"till.sqlite-wal"_s).size() + 1000);
        told = failure([this] { enqueue(2); });
    }
    EXPECT_EQ(told, u"hostStorageFull"_s);
    EXPECT_THAT(numbers(), ElementsAre(1));
    enqueue(3);
    EXPECT_THAT(numbers(), ElementsAre(1, 3));
    EXPECT_EQ(MessageQueue().waitingCount(), 2);
}

TEST_F(Broker, RefusesADamagedFileAndLeavesItAsItIs)
{
    (void)storage::dataFile(u"till.sqlite"_s);
    overwrite(u"till.sqlite"_s, "no database at all");
    EXPECT_EQ(failure([this] { enqueue(); }), u"hostStorageDamaged"_s);
    EXPECT_EQ(bytes(u"till.sqlite"_s), "no database at all");
}

TEST_F(Broker, SaysForAsLongAsItsFileIsGoneThatItIs)
{
    enqueue(1);
    const QString store = path(u"till.sqlite"_s);
    ASSERT_TRUE(QFile::rename(store, path(u"aside"_s)));
    for (int i = 0; i < 2; ++i)
        EXPECT_EQ(failure([this] { enqueue(2); }), u"hostStorageGone"_s);
    EXPECT_FALSE(QFile::exists(store)) << "no new one is begun";
    ASSERT_TRUE(QFile::rename(path(u"aside"_s), store));
    enqueue(3);
    EXPECT_THAT(numbers(), ElementsAre(1, 3));
}

TEST_F(Broker, LosesNothingThatItAcceptedWhenItsProcessIsKilled)
{
    for (int run = 0; run < 3; ++run) {
        storage::setDataDirectory(path(QString::number(run)));
        QProcess process;
        process.start(QStringLiteral(KYR_ENQUEUER), {path(QString::number(run))});
        QByteArray said;
        while (said.count('\n') < 20 + run && process.waitForReadyRead(30000))
            said += process.readAllStandardOutput();
        process.kill(); // SIGKILL: nothing of it runs any more
        ASSERT_TRUE(process.waitForFinished(30000));
        ASSERT_EQ(process.exitStatus(), QProcess::CrashExit) << process.readAllStandardError().toStdString();
        said += process.readAllStandardOutput();
        const auto accepted = said.count('\n');

        const QList<int> kept = numbers();
        EXPECT_GE(kept.size(), accepted);
        EXPECT_LE(kept.size(), accepted + 1) << "at most the one that was under way";
        for (qsizetype i = 0; i < kept.size(); ++i)
            ASSERT_EQ(kept[i], i) << "each once and in order";
        EXPECT_EQ(MessageQueue().waitingCount(), kept.size());
    }
}

} // namespace
