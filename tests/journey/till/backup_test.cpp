#include "host/queue/messagequeue.h"
#include "host/storage/datadirectory.h"
#include "host/storage/filelock.h"
#include "tests/journey/till/kepttill.h"
#include "tests/support/httpserver.h"

#include <QDir>
#include <QJsonArray>
#include <QJsonDocument>

#include <gmock/gmock.h>

using namespace Qt::StringLiterals;
using ::testing::AllOf;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::Not;

namespace tilltest {

namespace {

/// A till that has sold, with messages that no service took yet.
class TillCopies : public testing::Test
{
protected:
    TillCopies()
    {
        runSteps(story::openSale("R-1", {story::tea(300)}) + story::identifyByCard("2000000000055") +
                 story::pay());
        enqueue(u"R-1"_s);
    }

    void runSteps(const story::Steps& steps) const { EXPECT_EQ(till.runSteps(steps).status, 0); }
    void enqueue(const QString& receipt) const
    {
        storage::setDataDirectory(till.directory());
        MessageQueue().enqueue(u"kyrloyalty"_s, receipt,
                               {{u"method"_s, u"POST"_s},
                                {u"url"_s, u"http://127.0.0.1:9/v2/partner/operation/payment-b2c"_s},
                                {u"timeout"_s, 3},
                                {u"body"_s, QByteArray("{}")}},
                               u"Начисление по карте 2000000000017"_s);
        storage::setDataDirectory({});
    }
    /// A tool on that till's data directory.
    [[nodiscard]] Ran tool(const QStringList& arguments) const { return run(arguments + till.arguments()); }
    [[nodiscard]] QJsonObject json(const QStringList& arguments) const
    {
        return QJsonDocument::fromJson(tool(arguments + QStringList{u"--json"_s}).out).object();
    }
    [[nodiscard]] QString inData(const QString& pattern) const
    {
        const QStringList found = QDir(till.directory()).entryList({pattern});
        return found.isEmpty() ? QString() : till.directory() + u'/' + found.first();
    }
    /// As a disk does that loses the pages of the journal.
    void damageStore() const
    {
        const QString store = till.directory() + u"/till.sqlite"_s;
        const int root =
            test_support::RawDatabase(store)
                .run(u"SELECT rootpage FROM sqlite_master WHERE name = 'journal_receipt'"_s)[0][0]
                .toInt();
        QFile file(store);
        ASSERT_TRUE(file.open(QIODevice::ReadWrite) && file.seek((root - 1) * 4096) &&
                    file.write(QByteArray(4096, 'x')) == 4096);
    }

    const KeptTill till;
    const Files files;
    const QString copy = files.path(u"copy.sqlite"_s);
};

TEST_F(TillCopies, AreMadeOnceTellWhatIsInThemAndAreTheirOwnersAlone)
{
    const Ran made = tool({u"backup"_s, copy});
    EXPECT_EQ(made.status, 0) << made.err.toStdString();
    EXPECT_THAT(made.out.toStdString(),
                AllOf(HasSubstr("1 closed receipts, "), HasSubstr(" 1 messages waiting, 0 parked, ")));
    EXPECT_EQ(QFile::permissions(copy) & (QFile::ReadGroup | QFile::ReadOther), QFile::Permissions());
    const Ran again = tool({u"backup"_s, copy});
    EXPECT_EQ(again.status, 2);
    EXPECT_THAT(again.err.toStdString(), HasSubstr("is there already; name another"));
    EXPECT_EQ(json({u"backup"_s, files.path(u"other"_s)})[u"waiting"_s], 1);
}

TEST_F(TillCopies, OfNothingAreNone)
{
    const QString empty = files.path(u"empty"_s);
    QDir().mkpath(empty);
    EXPECT_EQ(run({u"backup"_s, copy, u"--data-dir"_s, empty}).status, 2);
    EXPECT_EQ(QDir(empty).entryList(QDir::Files | QDir::Hidden).size(), 0);
    EXPECT_FALSE(QFile::exists(copy));
}

TEST_F(TillCopies, ThatHaveADamagedReceiptSaySo)
{
    test_support::flipABit(till.directory() + u"/till.sqlite"_s, u"documents"_s, u"content"_s, u"1"_s);
    const Ran made = tool({u"backup"_s, copy});
    EXPECT_EQ(made.status, 1);
    EXPECT_THAT(made.out.toStdString(), HasSubstr("damaged, in the store too: receipt R-1\n"));
    const Ran refused = tool({u"restore"_s, copy});
    EXPECT_EQ(refused.status, 2);
    EXPECT_THAT(refused.err.toStdString(), HasSubstr("copy.sqlite"));
    EXPECT_EQ(inData(u"*.replaced-*"_s), QString());
}

TEST_F(TillCopies, PutBackTellWhatOnlyTheFormerStoreHasAndARescueBringsItAlong)
{
    ASSERT_EQ(tool({u"backup"_s, copy}).status, 0);
    runSteps(story::openSale("R-2", {story::tea(300)}) + story::pay());
    enqueue(u"R-2"_s);

    const Ran restored = tool({u"restore"_s, copy});
    EXPECT_EQ(restored.status, 0) << restored.err.toStdString();
    const QString former = inData(u"till.sqlite.replaced-*"_s);
    EXPECT_THAT(restored.out.toStdString(),
                AllOf(HasSubstr("closed in the former store only: R-2\n"),
                      HasSubstr("messages of the former store only: "),
                      HasSubstr("to bring that along: till rescue " + former.toStdString() + "\n")));
    EXPECT_THAT(tool({u"receipts"_s, u"show"_s, u"R-2"_s}).err.toStdString(),
                HasSubstr("no receipt 'R-2' here"));
    EXPECT_THAT(tool({u"doctor"_s}).out.toStdString(),
                AllOf(HasSubstr("replaced and set aside: till.sqlite.replaced-"),
                      HasSubstr("→ till rescue " + former.toStdString() + "; then move them away")));

    const Ran rescued = tool({u"rescue"_s, former});
    EXPECT_EQ(rescued.status, 0) << rescued.out.toStdString() << rescued.err.toStdString();
    EXPECT_THAT(rescued.out.toStdString(), HasSubstr("\nnothing is lost\n"));
    EXPECT_THAT(tool({u"receipts"_s, u"show"_s, u"R-2"_s}).out.toStdString(),
                HasSubstr("sale R-2, closed\n"));
    const QJsonObject again = json({u"rescue"_s, former});
    for (const QJsonValue& table : again[u"tables"_s].toObject())
        EXPECT_EQ(table[u"taken"_s], 0);
}

TEST_F(TillCopies, OfADamagedStoreAreRescuedAndTheReceiptsStillTellWhatWaits)
{
    damageStore();
    EXPECT_EQ(tool({u"queue"_s, u"list"_s}).status, 2);
    run(QStringList{u"shell"_s} + till.arguments(), "quit\n"); // a start sets it aside
    const QString aside = inData(u"till.sqlite.damaged-*"_s);
    ASSERT_NE(aside, QString());
    EXPECT_THAT(tool({u"doctor"_s}).out.toStdString(),
                HasSubstr("→ till rescue " + aside.toStdString() + ";"));

    const Ran rescued = tool({u"rescue"_s, aside});
    EXPECT_EQ(rescued.status, 0) << rescued.out.toStdString() << rescued.err.toStdString();
    EXPECT_THAT(tool({u"receipts"_s, u"list"_s}).out.toStdString(), HasSubstr("R-1 "));
    EXPECT_THAT(tool({u"receipts"_s, u"show"_s, u"R-1"_s}).out.toStdString(),
                AllOf(HasSubstr("sale R-1, closed\n"), HasSubstr("next: waiting: message ")));
}

TEST_F(TillCopies, OfAStoreWithoutItsJournalTellWhatWaitsForAReceiptToo)
{
    test_support::RawDatabase(till.directory() + u"/till.sqlite"_s).run(u"DELETE FROM journal"_s);
    ASSERT_EQ(tool({u"backup"_s, copy}).status, 0);
    ASSERT_EQ(tool({u"restore"_s, copy}).status, 0);
    EXPECT_THAT(tool({u"receipts"_s, u"show"_s, u"R-1"_s}).out.toStdString(),
                AllOf(HasSubstr("sale R-1, closed\n"), HasSubstr("next: waiting: message ")));
}

TEST_F(TillCopies, ThatAreNotWholeAreRescuedAsFarAsTheyAreAndWhatIsLostIsNamed)
{
    ASSERT_EQ(tool({u"backup"_s, copy}).status, 0);
    test_support::flipABit(copy, u"queued"_s, u"message"_s, u"1"_s);
    const QString elsewhere = files.path(u"elsewhere"_s);
    QDir().mkpath(elsewhere);
    QFile::setPermissions(elsewhere, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    const Ran rescued = run({u"rescue"_s, copy, u"--data-dir"_s, elsewhere});
    EXPECT_EQ(rescued.status, 1);
    EXPECT_THAT(rescued.out.toStdString(),
                HasSubstr(" of receipt R-1, Начисление по карте …0017: its content is damaged\n"));
    EXPECT_THAT(run({u"queue"_s, u"list"_s, u"--data-dir"_s, elsewhere}).out.toStdString(),
                HasSubstr("0 waiting, 0 parked\n"));
}

TEST_F(TillCopies, AreNotPutBackOrRescuedWhileATillWorksOrADeliveryIsUnderWay)
{
    ASSERT_EQ(tool({u"backup"_s, copy}).status, 0);
    QProcess shell;
    till.startShell(shell);
    play(shell, story::openSale("R-3", {story::tea(300)}));
    for (const QString& command : {u"restore"_s, u"rescue"_s}) {
        const Ran refused = tool({command, copy});
        EXPECT_EQ(refused.status, 2);
        EXPECT_THAT(refused.err.toStdString(),
                    AllOf(HasSubstr("till: " + command.toStdString() +
                                    ": a till works on this data directory; end it first ("),
                          HasSubstr("process " + std::to_string(shell.processId()))));
    }
    EXPECT_EQ(tool({u"backup"_s, files.path(u"meanwhile"_s)}).status, 0);
    end(shell);
    {
        storage::setDataDirectory(till.directory());
        const storage::FileLock delivery(u"queue.lock"_s);
        EXPECT_THAT(tool({u"restore"_s, copy}).err.toStdString(), HasSubstr("a delivery is under way"));
        storage::setDataDirectory({});
    }
    EXPECT_EQ(tool({u"restore"_s, copy}).status, 0);
}

TEST_F(TillCopies, AreSoughtUnderTheirNamesOnly)
{
    for (const QString& command : {u"restore"_s, u"rescue"_s}) {
        EXPECT_THAT(tool({command, copy}).err.toStdString(), HasSubstr("there is no file "));
        EXPECT_THAT(tool({command, till.directory() + u"/till.sqlite"_s}).err.toStdString(),
                    HasSubstr("till.sqlite is the store itself"));
        EXPECT_THAT(tool({command, files.write(u"text"_s, "no store")}).status, 2);
        EXPECT_THAT(tool({command, till.directory()}).status, 2);
    }
    EXPECT_EQ(inData(u"*.replaced-*"_s), QString());
}

} // namespace

} // namespace tilltest
