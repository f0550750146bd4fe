#include "host/shop/schema.h"
#include "tests/journey/shop/shop.h"

#include <QJsonDocument>
#include <QThread>

#include <csignal>

using namespace Qt::StringLiterals;
using namespace story;
using ::testing::HasSubstr;

namespace tilltest {

namespace {

/// A sale without a card, which is told to the service by the queue.
Steps anonymous(const QString& id) { return openSale(id, {tea(10)}) + pay(); }

} // namespace

TEST_F(TillsOfAShop, SeveralDeliveriesBringEachMessageOnceThoughOneIsKilled)
{
    constexpr int receipts = 60;
    Steps day;
    for (int i = 0; i < receipts; ++i)
        day += anonymous(u"R-%1"_s.arg(i));
    ASSERT_EQ(play(u"1"_s, day + deliver()).status, 0);
    QProcess& dying = startDelivery();
    startDelivery();
    ASSERT_TRUE(dying.waitForReadyRead(patienceMs));
    dying.kill();
    startDelivery();
    waitUntilDelivered();
    const QStringList known = ledger();
    EXPECT_EQ(known.size(), receipts);
    EXPECT_EQ(database.sql(u"SELECT count(*), count(DISTINCT receipt) FROM kyr.history"_s),
              u"%1|%1"_s.arg(receipts));
}

TEST_F(TillsOfAShop, ADeliveryTellsWhatItHasDoneAndEndsWhenItIsTold)
{
    ASSERT_EQ(play(u"1"_s, anonymous(u"R-1"_s) + deliver()).status, 0);
    QProcess& delivery = startDelivery();
    waitUntilDelivered();
    ::kill(static_cast<pid_t>(delivery.processId()), SIGTERM);
    ASSERT_TRUE(delivery.waitForFinished(patienceMs));
    EXPECT_EQ(delivery.exitCode(), 0);
    const std::string said = delivery.readAllStandardOutput().toStdString();
    EXPECT_THAT(said, HasSubstr("of R-1, receipt: delivered\n"));
    EXPECT_THAT(said, HasSubstr("stopped\n"));
}

TEST_F(TillsOfAShop, ADeliveryGoesOnWhenTheDatabaseComesBack)
{
    ASSERT_EQ(play(u"1"_s, anonymous(u"R-1"_s) + deliver()).status, 0);
    startDelivery();
    waitUntilDelivered();
    database.kill();
    ASSERT_EQ(play(u"1"_s, anonymous(u"R-2"_s) + deliver().mayFail()).status, 0);
    database.start();
    ASSERT_EQ(play(u"1"_s, deliver()).status, 0);
    waitUntilDelivered();
    EXPECT_EQ(ledger().size(), 2);
}

/// The till's own service, as its unit starts it.
TEST_F(TillsOfAShop, TheTillsDeliveryServiceMovesOnWhatIsClosedMeanwhile)
{
    ASSERT_EQ(play(u"1"_s, anonymous(u"R-1"_s)).status, 0);
    QProcess service;
    start(service, QStringList{u"deliver"_s} + of(u"1"_s));
    startDelivery();
    const auto isKnown = [this](const char* receipt) {
        for (int i = 0; i < 1000; ++i) {
            if (database.sql(u"SELECT count(*) FROM kyr.documents, kyr.history WHERE documents.identifier = "
                             "history.receipt AND documents.identifier = '%1'"_s.arg(
                                 QLatin1StringView(receipt))) == u"1")
                return true;
            QThread::msleep(20);
        }
        return false;
    };
    EXPECT_TRUE(isKnown("R-1"));
    ASSERT_EQ(play(u"1"_s, anonymous(u"R-2"_s)).status, 0);
    EXPECT_TRUE(isKnown("R-2"));
    ::kill(static_cast<pid_t>(service.processId()), SIGTERM);
    ASSERT_TRUE(service.waitForFinished(patienceMs));
    EXPECT_EQ(service.exitCode(), 0);
}

TEST_F(TillsOfAShop, ATillSaysThatItsReceiptsLieThereThoughNoMessageDoes)
{
    database.sql(u"ALTER TABLE kyr.documents ADD CHECK (false)"_s);
    const Ran ran = play(u"1"_s, anonymous(u"R-1"_s) + deliver());
    EXPECT_EQ(ran.status, 1);
    EXPECT_THAT(errorOf(lastStep(ran)), HasSubstr("База магазина отказала"));
    EXPECT_EQ(database.sql(u"SELECT count(*) FROM kyr.queued"_s), u"1");
}

TEST_F(TillsOfAShop, ATillHasToSayWhichOneItIs)
{
    const Ran ran = run(QStringList{u"run"_s, files.write(u"s.json"_s, scenario(sale, {}))} + ofShop());
    EXPECT_EQ(ran.status, 2);
    EXPECT_THAT(ran.err.toStdString(), HasSubstr("Shop:database is set, but not Shop:till"));
}

TEST_F(TillsOfAShop, ADatabaseThatIsNotPreparedIsSaid)
{
    database.sql(u"DROP SCHEMA kyr CASCADE"_s);
    const Ran ran = run(QStringList{u"deliver"_s, u"--shop"_s} + ofShop());
    EXPECT_EQ(ran.status, 2);
    EXPECT_THAT(ran.err.toStdString(), HasSubstr("till shop prepare"));
    const Ran prepared = run(QStringList{u"shop"_s, u"prepare"_s, u"--json"_s} + ofShop());
    EXPECT_EQ(prepared.status, 0) << prepared.err.toStdString();
    EXPECT_EQ(QJsonDocument::fromJson(prepared.out)[u"version"_s].toInt(), shop::schemaVersion);
}

TEST(ShopPrepare, NeedsADatabase)
{
    const Files files;
    const Ran nowhere = run({u"shop"_s, u"prepare"_s, u"--config"_s, files.write(u"till.toml"_s, "")});
    EXPECT_EQ(nowhere.status, 2);
    EXPECT_THAT(nowhere.err.toStdString(), HasSubstr("Shop:database is not set"));
    const Ran secret = run({u"shop"_s, u"prepare"_s, u"postgresql://owner:top-secret@db/shop"_s});
    EXPECT_EQ(secret.status, 2);
    EXPECT_THAT(secret.err.toStdString(), HasSubstr("passfile"));
    EXPECT_EQ(secret.err.indexOf("top-secret"), -1);
    const Ran away = run({u"shop"_s, u"prepare"_s, u"postgresql:///shop?host=/nowhere"_s});
    EXPECT_EQ(away.status, 2);
    EXPECT_THAT(away.err.toStdString(), HasSubstr("недоступна"));
}

} // namespace tilltest
