#include "host/queue/messagequeue.h"
#include "host/storage/datacheck.h"
#include "host/storage/documents.h"
#include "host/storage/store.h"
#include "tests/support/atcall.h"
#include "tests/unit/storage/documents.h"
#include "tests/unit/storage/scene.h"

#include <QFileInfo>

#include <gmock/gmock.h>

using namespace Qt::StringLiterals;
using storage::DataFinding;
using testing::IsEmpty;

namespace {

constexpr qsizetype logHeader = 32;
constexpr qsizetype frameHeader = 24;
constexpr qsizetype frame = frameHeader + 4096;

/// A store whose newest commits are in its log only, as a kill leaves it.
class DamagedLog : public test_support::Storage
{
protected:
    static constexpr int receipts = 4;

    DamagedLog()
    {
        for (int i = 0; i < receipts; ++i)
            DocumentsDao().store(richSale(u"R-%1"_s.arg(i)));
    }
    [[nodiscard]] QByteArray log() const { return bytes(u"till.sqlite-wal"_s); }

    /// Goes to a folder with the same store and a damaged log, which it returns.
    QByteArray goToDamaged()
    {
        const QByteArray damaged = flipped(log(), logHeader + frameHeader + 1000);
        copy = path(u"copy"_s);
        makePrivate(copy);
        EXPECT_TRUE(QFile::copy(path(u"till.sqlite"_s), copy + u"/till.sqlite"_s));
        overwrite(u"copy/till.sqlite-wal"_s, damaged);
        storage::setDataDirectory(copy);
        return damaged;
    }
    /// What a start finds in a folder of its own with the same store and that log.
    QList<DataFinding> findingsWith(const QByteArray& content)
    {
        copy = path(u"copy-%1"_s.arg(++m_copies));
        makePrivate(copy);
        EXPECT_TRUE(QFile::copy(path(u"till.sqlite"_s), copy + u"/till.sqlite"_s));
        overwrite(QDir(copy).dirName() + u"/till.sqlite-wal"_s, content);
        storage::setDataDirectory(copy);
        QList<DataFinding> findings = openDataDirectory().findings;
        return findings;
    }
    static int readable()
    {
        int count = 0;
        while (DocumentsDao().loadDocument(u"R-%1"_s.arg(count), false))
            ++count;
        return count;
    }
    static QByteArray flipped(QByteArray content, qsizetype at)
    {
        content[at] = static_cast<char>(content[at] ^ 1);
        return content;
    }
    /// Says what is to be missed, and keeps the log as it was found.
    void expectTold(const QByteArray& content)
    {
        const QList<DataFinding> found = findingsWith(content);
        ASSERT_EQ(found.size(), 1);
        EXPECT_EQ(found[0].kind, DataFinding::Kind::Cut);
        EXPECT_EQ(found[0].file, copy + u"/till.sqlite-wal"_s);
        EXPECT_TRUE(found[0].text.ru().contains(QFileInfo(found[0].now).fileName()));
        QFile kept(found[0].now);
        ASSERT_TRUE(kept.open(QIODevice::ReadOnly));
        EXPECT_EQ(kept.readAll(), content);
        EXPECT_EQ(mode(found[0].now), 0600U);
        EXPECT_LT(readable(), receipts);
        EXPECT_THAT(openDataDirectory().findings, IsEmpty()) << "once";
    }

    std::shared_ptr<storage::Database> held = storage::store();
    QString copy;

private:
    int m_copies = 0;
};

TEST_F(DamagedLog, IsToldWhereverAPageInItIsDamagedButForItsVeryEnd)
{
    const QByteArray whole = log();
    const qsizetype frames = (whole.size() - logHeader) / frame;
    ASSERT_GT(frames, receipts);
    for (qsizetype i = 0; i + 1 < frames; ++i) {
        SCOPED_TRACE(i);
        expectTold(flipped(whole, logHeader + i * frame + frameHeader + 1000));
    }
}

TEST_F(DamagedLog, IsToldWhereTheHeadOfAFrameIsDamaged)
{
    const QByteArray whole = log();
    for (qsizetype at = 0; at < frameHeader; ++at) {
        SCOPED_TRACE(at);
        expectTold(flipped(whole, logHeader + at));
    }
}

TEST_F(DamagedLog, IsToldWhereItsOwnHeadIsDamaged)
{
    const QByteArray whole = log();
    for (qsizetype at = 0; at < logHeader; ++at) {
        SCOPED_TRACE(at);
        expectTold(flipped(whole, at));
    }
}

TEST_F(DamagedLog, IsNotSaidOfOneThatAKillOrAPowerCutLeft)
{
    const QByteArray whole = log();
    EXPECT_THAT(findingsWith(whole), IsEmpty());
    EXPECT_EQ(readable(), receipts);
    for (const qsizetype size : {qsizetype(0), qsizetype(20), logHeader, logHeader + frame / 2,
                                 whole.size() - frame, whole.size() - 1}) {
        SCOPED_TRACE(size);
        EXPECT_THAT(findingsWith(whole.first(size)), IsEmpty());
        EXPECT_THAT(findingsWith(whole.first(size) + QByteArray(whole.size() - size, '\0')), IsEmpty());
    }
}

TEST_F(DamagedLog, IsNotSaidOfWhatAnUndoneCommitLeftBehindTheNextOne)
{
    {
        const storage::Transaction undone;
        MessageQueue queue;
        for (int i = 0; i < 2000; ++i) // until SQLite's memory is full, so that a part is in the log
            queue.enqueue(u"q"_s, {}, {{u"body"_s, QByteArray(4000, 'x')}}, {});
    }
    DocumentsDao().store(richSale(u"R-%1"_s.arg(receipts)));
    EXPECT_THAT(findingsWith(log()), IsEmpty());
    EXPECT_EQ(readable(), receipts + 1);
}

TEST_F(DamagedLog, IsNotSaidOfWhatAKillInACommitLeftBehindTheNextOne)
{
    static_cast<void>(findingsWith(log().chopped(frame)));
    const auto again = storage::store();
    MessageQueue().enqueue(u"q"_s, {}, {}, {});
    QFile left(copy + u"/till.sqlite-wal"_s);
    ASSERT_TRUE(left.open(QIODevice::ReadOnly));
    EXPECT_THAT(findingsWith(left.readAll()), IsEmpty());
}

TEST_F(DamagedLog, IsNotSaidOfEarlierRoundsOfALog)
{
    QSqlQuery fold = held->prepared(u"PRAGMA wal_checkpoint(RESTART)"_s);
    static_cast<void>(held->rows(fold));
    const qsizetype before = log().size();
    DocumentsDao().store(richSale(u"R-%1"_s.arg(receipts)));
    ASSERT_EQ(log().size(), before) << "the new round is shorter";
    EXPECT_THAT(findingsWith(log()), IsEmpty());
    EXPECT_EQ(readable(), receipts + 1);
}

TEST_F(DamagedLog, IsKeptByWhoeverOpensTheStoreFirst)
{
    const QByteArray damaged = goToDamaged();
    EXPECT_TRUE(storage::isStoreCut());
    EXPECT_EQ(MessageQueue().waitingCount(), 0); // any tool
    const QStringList kept = QDir(copy).entryList({u"till.sqlite.damaged-*-wal"_s});
    ASSERT_EQ(kept.size(), 1);
    EXPECT_EQ(bytes(u"copy/"_s + kept.first()), damaged);
    EXPECT_FALSE(storage::isStoreCut());
}

TEST_F(DamagedLog, IsNotSaidOfOneThatAnotherProgramBeginsAnewMeanwhile)
{
    const QByteArray damaged = goToDamaged();
    ASSERT_TRUE(storage::isStoreCut());
    int opened = 0;
    const test_support::AtCall meanwhile("open64", [&] {
        if (++opened == 2) // the store, behind its log
            overwrite(u"copy/till.sqlite-wal"_s, flipped(damaged, 16));
        return 0;
    });
    EXPECT_FALSE(storage::isStoreCut());
}

} // namespace
