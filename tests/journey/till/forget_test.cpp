#include "host/core/document.h"
#include "host/queue/messagequeue.h"
#include "host/storage/datadirectory.h"
#include "host/storage/documents.h"
#include "host/storage/store.h"
#include "tests/journey/till/tillprocess.h"
#include "tests/stand/standprocess.h"
#include "tests/support/filebytes.h"
#include "tests/support/rawdatabase.h"
#include "till/checkout/unknownspending.h"

#include <QDir>
#include <QJsonArray>
#include <QJsonDocument>

#include <gmock/gmock.h>

using namespace Qt::StringLiterals;
using namespace story;
using test_support::filesWith;
using ::testing::AllOf;
using ::testing::HasSubstr;
using ::testing::Not;

namespace tilltest {

namespace {

const QString customersCard = u"2000000000055"_s;
const Steps soldOne = openSale("R-1", {tea(300, 2)}) + card + pay();

/// A data directory in which a till played with a service that lies elsewhere.
class TillForget : public testing::Test
{
protected:
    ~TillForget() override { storage::setDataDirectory({}); }

    void play(const Steps& steps)
    {
        const Ran ran = runJson(
            steps, {u"--data-dir"_s, directory, u"--server-url"_s, QString::fromLatin1(service.url()) + u'/'},
            {{u"KYRLoyalty:user"_s, u"shop"_s}, {u"KYRLoyalty:password"_s, u"secret-of-the-shop"_s}});
        EXPECT_EQ(ran.status, 0) << ran.out.toStdString();
    }
    [[nodiscard]] Ran forget(const QStringList& arguments, const QByteArray& input = {}) const
    {
        return run(QStringList{u"forget"_s, u"--data-dir"_s, directory} + arguments, input);
    }
    [[nodiscard]] QJsonObject forgotten(const QString& card = customersCard) const
    {
        const Ran ran = forget({u"--card"_s, card, u"--yes"_s, u"--json"_s});
        QJsonObject json = QJsonDocument::fromJson(ran.out).object();
        const bool isAll = json[u"kept"_s].toArray().isEmpty() && json[u"damaged"_s].toArray().isEmpty();
        EXPECT_EQ(ran.status, isAll ? 0 : 1) << ran.err.toStdString();
        return json;
    }
    [[nodiscard]] static QStringList receiptsOf(const QJsonValue& list)
    {
        QStringList receipts;
        for (const auto& one : list.toArray())
            receipts.append(one[u"receipt"_s].toString());
        receipts.sort();
        return receipts;
    }
    /// Which receipts, by their number, have anything in the store.
    [[nodiscard]] QStringList known() const
    {
        const test_support::RawDatabase store(directory + u"/till.sqlite"_s);
        QStringList receipts;
        for (const QVariantList& row :
             store.run(u"SELECT identifier FROM documents UNION SELECT document FROM card_records UNION "
                       "SELECT receipt FROM history UNION SELECT receipt FROM journal ORDER BY 1"_s))
            receipts.append(row[0].toString());
        return receipts;
    }
    qint64 enqueue(const QString& receipt, const QByteArray& body = "{}")
    {
        storage::setDataDirectory(directory);
        return MessageQueue().enqueue(u"q"_s, receipt, {{u"body"_s, body}}, {});
    }

    const Files files{};
    const QString directory = files.path(u"data"_s);
    standtest::StandProcess service;
};

} // namespace

TEST_F(TillForget, RemovesTheReceiptsOfACardWithItsReturnsAndLeavesOthers)
{
    play(openSale("R-0", {tea(10)}) + identifyByCard("2000000000017") + pay() + soldOne +
         openReturn("V-1", "R-1", {position(1)}) + pay() + deliver());
    ASSERT_EQ(known(), QStringList({u"R-0"_s, u"R-1"_s, u"V-1"_s}));
    // A scenario's receipts are minutes apart: the second may be of the next day.
    test_support::RawDatabase(directory + u"/till.sqlite"_s)
        .run(u"UPDATE documents SET stored = ?"_s, {QDateTime({2026, 11, 21}, {12, 0}).toMSecsSinceEpoch()});
    const Ran ran = forget({u"--card"_s, customersCard, u"--yes"_s});
    EXPECT_EQ(ran.status, 0) << ran.err.toStdString();
    EXPECT_THAT(ran.out.toStdString(),
                AllOf(HasSubstr("2026-11-21: 2 receipts removed: R-1, V-1\n"),
                      HasSubstr("cannot be given back at this till any more"),
                      HasSubstr("not reached: backups, the log file"), Not(HasSubstr("2000000000055"))));
    EXPECT_EQ(known(), QStringList(u"R-0"_s));
}

TEST_F(TillForget, LeavesNothingOfTheCardInAnyFileOfTheDataDirectory)
{
    play(soldOne + deliver());
    ASSERT_NE(filesWith(directory, customersCard), QStringList());
    EXPECT_EQ(receiptsOf(forgotten()[u"removed"_s]), QStringList(u"R-1"_s));
    EXPECT_EQ(filesWith(directory, customersCard), QStringList());
}

TEST_F(TillForget, LeavesNothingInTheLogWhileATillWorks)
{
    play(soldOne + deliver());
    storage::setDataDirectory(directory);
    const auto till = storage::store();
    enqueue(u"R-2"_s);
    EXPECT_EQ(receiptsOf(forgotten()[u"removed"_s]), QStringList(u"R-1"_s));
    EXPECT_TRUE(QFile::exists(directory + u"/till.sqlite-wal"_s));
    EXPECT_EQ(filesWith(directory, customersCard), QStringList());
}

TEST_F(TillForget, SaysThatTheLogCouldNotBeEmptied)
{
    play(soldOne + deliver());
    {
        const test_support::RawDatabase reader(directory + u"/till.sqlite"_s);
        reader.run(u"BEGIN"_s);
        reader.run(u"SELECT count(*) FROM documents"_s);
        const Ran ran = forget({u"--card"_s, customersCard, u"--yes"_s});
        EXPECT_EQ(ran.status, 1);
        EXPECT_THAT(ran.out.toStdString(), HasSubstr("is still in till.sqlite-wal; run this again\n"));
        reader.run(u"COMMIT"_s);
        const Ran again = forget({u"--card"_s, customersCard, u"--yes"_s});
        EXPECT_EQ(again.status, 0) << again.out.toStdString();
        EXPECT_EQ(filesWith(directory, customersCard), QStringList());
    }
}

TEST_F(TillForget, KeepsWhatAMessageOrTheCashierStillNeedsAndSaysWhatToDo)
{
    play(soldOne + openSale("R-2", {tea(10)}) + card + pay() + openSale("R-3", {tea(10)}) + card + pay() +
         deliver() + openReturn("V-3", "R-3", {position(1)}));
    const qint64 waiting = enqueue(u"R-1"_s);
    const qint64 parked = enqueue(u"R-2"_s);
    MessageQueue().park(parked, {.code = 400, .error = u"no"_s});
    const QJsonObject first = forgotten();
    EXPECT_EQ(receiptsOf(first[u"removed"_s]), QStringList());
    EXPECT_EQ(receiptsOf(first[u"kept"_s]), QStringList({u"R-1"_s, u"R-2"_s, u"R-3"_s}));
    const Ran ran = forget({u"--card"_s, customersCard, u"--yes"_s});
    EXPECT_EQ(ran.status, 1);
    EXPECT_THAT(
        ran.out.toStdString(),
        AllOf(HasSubstr("R-1 stays: a message of it waits: till queue deliver; then run this again\n"),
              HasSubstr("R-2 stays: a message of it is parked: till queue retry or till queue drop it; then"),
              HasSubstr("R-3 stays: it, or a return of it, is open: the cashier ends it; then"),
              Not(HasSubstr("given back"))));
    EXPECT_EQ(known().size(), 4);
    MessageQueue().delivered(waiting, {});
    MessageQueue().drop(parked);
    EXPECT_EQ(receiptsOf(forgotten()[u"removed"_s]), QStringList({u"R-1"_s, u"R-2"_s}));
}

TEST_F(TillForget, KeepsAnOpenReceiptOfTheCardAndSaysWhenASpendingIsInDoubt)
{
    play(sale + card);
    EXPECT_EQ(receiptsOf(forgotten()[u"kept"_s]), QStringList(u"R-1"_s));
    storage::setDataDirectory(directory);
    const auto open = SaveToFileLogic::loadOpenReceipt();
    till::setUnknownSpending(*open, till::UnknownSpending{.points = 5, .wanted = 5, .since = {}});
    SaveToFileLogic().save(open, {});
    EXPECT_THAT(forget({u"--card"_s, customersCard, u"--yes"_s}).out.toStdString(),
                HasSubstr("R-1 stays: it is open, and whether points were spent on it is not known: "));
}

TEST_F(TillForget, FindsWhatOnlyAMessageTellsOfTheCard)
{
    play(sale);
    enqueue(u"R-7"_s, R"({"card":"2000000000055"})");
    const qint64 dropped = enqueue(u"R-8"_s, R"({"card":"2000000000055"})");
    MessageQueue().drop(dropped);
    const qint64 longer = enqueue(u"R-9"_s, R"({"card":"12000000000055"})");
    MessageQueue().drop(longer);
    EXPECT_EQ(receiptsOf(forgotten()[u"kept"_s]), QStringList(u"R-7"_s));
    EXPECT_EQ(known(), QStringList({u"R-1"_s, u"R-7"_s, u"R-9"_s}));
}

TEST_F(TillForget, NamesWhatNobodyCanReadAndWhatWasSetAside)
{
    play(soldOne + openSale("R-2", {tea(10)}) + pay() + deliver());
    test_support::flipABit(directory + u"/till.sqlite"_s, u"documents"_s, u"content"_s,
                           u"identifier = 'R-2'"_s);
    static_cast<void>(files.write(u"data/till.sqlite.damaged-20260131T235959Z"_s, "damaged"));
    const QJsonObject json = forgotten();
    EXPECT_EQ(receiptsOf(json[u"removed"_s]), QStringList(u"R-1"_s));
    EXPECT_EQ(json[u"damaged"_s].toArray(), QJsonArray{u"R-2"_s});
    EXPECT_EQ(json[u"notReached"_s][0].toString(),
              u"till.sqlite.damaged-20260131T235959Z in the data directory"_s);
    EXPECT_THAT(forget({u"--card"_s, customersCard, u"--yes"_s}).out.toStdString(),
                HasSubstr("damaged, so nobody knows whose: R-2\n"));
}

TEST_F(TillForget, RemovesADamagedReceiptOfWhichItsReturnTellsWhoseItWas)
{
    play(soldOne + openReturn("V-1", "R-1", {position(1)}) + pay() + deliver());
    test_support::flipABit(directory + u"/till.sqlite"_s, u"documents"_s, u"content"_s,
                           u"identifier = 'R-1'"_s);
    const QJsonObject json = forgotten();
    EXPECT_EQ(receiptsOf(json[u"removed"_s]), QStringList({u"R-1"_s, u"V-1"_s}));
    EXPECT_EQ(json[u"damaged"_s].toArray(), QJsonArray());
}

TEST_F(TillForget, FindsACardThatOnlyItsReturnTellsOf)
{
    play(openSale("R-1", {tea(10)}) + identifyByCard("2000000000017") + pay() + deliver());
    storage::setDataDirectory(directory);
    const auto back = QSharedPointer<Document>::create(ReturnReceipt, u"V-1"_s);
    back->setSaleDocumentId(u"R-1"_s);
    back->setCardRecord(QSharedPointer<DocumentCardRecord>::create(KyrLoyaltySystem, customersCard));
    DocumentsDao().store(back);
    EXPECT_EQ(receiptsOf(forgotten()[u"removed"_s]), QStringList({u"R-1"_s, u"V-1"_s}));
}

TEST_F(TillForget, NamesTheBooksOfATillsOwnStand)
{
    EXPECT_EQ(runJson(soldOne + deliver(), {u"--data-dir"_s, directory}).status, 0);
    EXPECT_THAT(forgotten()[u"notReached"_s][0].toString().toStdString(),
                HasSubstr("stand.sqlite, the books of"));
}

TEST_F(TillForget, TakesTheNumberFromTheStandardInput)
{
    play(soldOne + deliver());
    EXPECT_EQ(forget({u"--card"_s, u"-"_s, u"--yes"_s}, "2000000000055\n").status, 0);
    EXPECT_EQ(known(), QStringList());
}

TEST_F(TillForget, RemovesNothingUnlessItIsToldToOrMayAsk)
{
    play(soldOne + deliver());
    const Ran ran = forget({u"--card"_s, customersCard});
    EXPECT_EQ(ran.status, 2);
    EXPECT_THAT(ran.err.toStdString(),
                HasSubstr("nobody can be asked here; say --yes to remove without asking"));
    EXPECT_EQ(known(), QStringList(u"R-1"_s));
}

TEST_F(TillForget, SaysSoWhenTheNumberIsNoneOrUnknown)
{
    play(soldOne + deliver());
    for (const QString& wrong : {u"2000 0000 0005 5"_s, u"2000000000055 "_s, u"2000000000055\r"_s}) {
        const Ran ran = forget({u"--card"_s, wrong, u"--yes"_s});
        EXPECT_EQ(ran.status, 2);
        EXPECT_THAT(ran.err.toStdString(),
                    HasSubstr("--card: expected the card's number as the service knows it, without blanks"));
    }
    for (const QStringList& missing : {QStringList{}, {u"--card"_s, u""_s}, {u"--card"_s, u"-"_s}})
        EXPECT_THAT(forget(missing).err.toStdString(), HasSubstr("till: forget: whose? say --card"));
    const Ran unknown = forget({u"--card"_s, u"200000000005"_s});
    EXPECT_EQ(unknown.status, 0);
    EXPECT_THAT(
        unknown.out.toStdString(),
        HasSubstr("no receipt of card …0005 is kept here; if that surprises you, look at the number\n"));
    EXPECT_EQ(known(), QStringList(u"R-1"_s));
}

TEST_F(TillForget, BeginsNoStoreWhereThereIsNone)
{
    const QString empty = files.path(u"empty"_s);
    ASSERT_TRUE(QDir().mkdir(empty));
    const Ran ran = run({u"forget"_s, u"--card"_s, customersCard, u"--yes"_s, u"--data-dir"_s, empty});
    EXPECT_EQ(ran.status, 2);
    EXPECT_THAT(ran.err.toStdString(), HasSubstr("no till has kept anything here"));
    EXPECT_TRUE(QDir(empty).isEmpty());
}

} // namespace tilltest
