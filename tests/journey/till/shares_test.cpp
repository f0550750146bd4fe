#include "host/storage/datadirectory.h"
#include "host/storage/journal.h"
#include "tests/journey/till/tillprocess.h"
#include "tests/stand/standprocess.h"
#include "tests/support/lossyproxy.h"

#include <QFile>
#include <QJsonArray>

#include <gmock/gmock.h>

using namespace Qt::StringLiterals;
using namespace story;
using ::testing::HasSubstr;

namespace tilltest {

namespace {

const Step saleOfTwo = openSale("R-1", {tea(200), honey(50)});
const Step spendFifty = spendPoints(50);

const char* const saidUnknown =
    "Служба не сообщила, на какие позиции списаны баллы. Чек R-1: исход списания 50,00 баллов неизвестен, "
    "повторите списание той же суммы или отмените чек";

QByteArray configFor(const QByteArray& url)
{
    return "[KYRLoyalty]\nuser = \"shop\"\npassword = \"secret-of-the-shop\"\nserverUrl = \"" + url + "\"\n";
}

/// An answer to a spending with these shares.
QByteArray answer(const QByteArray& shares)
{
    return R"({"data":{"newRecipientDetails":[)" + shares + R"(],"receipt_number":"1"}})";
}

} // namespace

/// The shares in the answer lose their sense on the way.
class TillOnAFaultyService : public ::testing::TestWithParam<const char*>
{};

TEST_P(TillOnAFaultyService, NeitherDiscountsNorClosesAReceiptThatPointsAreLostOn)
{
    standtest::StandProcess stand(
        {u"--fault"_s,
         u"force-payment-c2b:type:field=data.newRecipientDetails.%1"_s.arg(QString::fromLatin1(GetParam()))});
    const Files files;
    const QStringList arguments{u"--config"_s,   files.write(u"till.toml"_s, configFor(stand.url())),
                                u"--data-dir"_s, files.path(u"data"_s),
                                u"--log-file"_s, files.path(u"log"_s)};
    const Ran ran = runJson(saleOfTwo + card + spendFifty + pay(), arguments);
    EXPECT_EQ(ran.status, 1);
    EXPECT_THAT(
        contentOf(files.path(u"log"_s)).toStdString(),
        HasSubstr("Receipt R-1: the service says that points were spent, but not on which positions: "));
    const QList<QJsonObject> lines = linesOf(ran);
    EXPECT_EQ(errorOf(lines.value(2)), saidUnknown);
    EXPECT_EQ(lines.value(2).value(u"unknown"_s).toDouble(), 50);
    EXPECT_FALSE(lines.value(3).value(u"ok"_s).toBool(true)) << "the receipt stays open";

    const QList<QJsonObject> again = linesOf(runJson(spendFifty + pay(), arguments));
    EXPECT_EQ(again.value(0).value(u"impacts"_s).toArray().size(), 2) << "the service repeats its answer";
    EXPECT_TRUE(again.value(1).value(u"ok"_s).toBool());
    EXPECT_EQ(again.value(1).value(u"value"_s).toDouble(), 10) << "5 % of the 200 paid";
}

INSTANTIATE_TEST_SUITE_P(Fault, TillOnAFaultyService,
                         testing::Values("0.position,as=list", "0.position,as=missing",
                                         "0.position,as=object", "0.position,as=null", "1.position,as=list",
                                         "0.discount_bonus,as=list", "0.discount_bonus,as=missing",
                                         "0.discount_bonus,as=bool", "0,as=text", "0,as=missing"));

/// A till on a service whose answers somebody changes; it plays on after each.
class TillShares : public ::testing::Test
{
protected:
    TillShares()
        : m_proxy(m_stand.url())
    {
        start(m_shell,
              {u"shell"_s, u"--json"_s, u"--config"_s,
               m_files.write(u"till.toml"_s, configFor(m_proxy.url().toUtf8())), u"--data-dir"_s, m_data});
        play(m_shell, saleOfTwo);
        play(m_shell, card);
    }
    ~TillShares() override
    {
        m_shell.closeWriteChannel();
        m_shell.waitForFinished(patienceMs);
    }
    Q_DISABLE_COPY_MOVE(TillShares)

    QJsonObject spendFor(const QByteArray& shares)
    {
        m_proxy.replaceAnswer("/force-payment-c2b", answer(shares));
        return play(m_shell, spendFifty);
    }

    Files m_files;
    const QString m_data = m_files.path(u"data"_s);
    standtest::StandProcess m_stand;
    test_support::LossyProxy m_proxy;
    QProcess m_shell;
};

TEST_F(TillShares, ThatAreNotThisReceiptsLeaveTheOutcomeUnknownUntilRightOnesCome)
{
    const QByteArrayList wrong{
        R"({"position":"3","discount_bonus":50})",
        R"({"position":0,"discount_bonus":40},{"position":1,"discount_bonus":10})",
        R"({"position":"abc","discount_bonus":50})",
        R"({"discount_bonus":50})",
        R"({"position":"1","discount_bonus":"nan"},{"position":"2","discount_bonus":10})",
        R"({"position":"1","discount_bonus":"inf"})",
        R"({"position":"1","discount_bonus":1e15})",
        R"({"position":"1","discount_bonus":1e308})",
        R"({"position":"1","discount_bonus":1050},{"position":"2","discount_bonus":-1000})",
        R"({"position":"2","discount_bonus":30},{"position":"2","discount_bonus":20.5})",
        R"({"position":"2","discount_bonus":51},{"position":"1","discount_bonus":-1})",
        QByteArrayList(5000, R"({"position":"1","discount_bonus":0})").join(','),
    };
    for (const QByteArray& shares : wrong) {
        const QJsonObject line = spendFor(shares);
        EXPECT_EQ(errorOf(line), saidUnknown) << shares.left(100).toStdString();
        EXPECT_EQ(line.value(u"unknown"_s).toDouble(), 50) << shares.left(100).toStdString();
        EXPECT_TRUE(line.value(u"impacts"_s).toArray().isEmpty()) << shares.left(100).toStdString();
    }
    EXPECT_FALSE(play(m_shell, pay()).value(u"ok"_s).toBool(true));
    EXPECT_TRUE(spendFor(R"({"position":"1","discount_bonus":"40"},{"position":2,"discount_bonus":10})")
                    .value(u"ok"_s)
                    .toBool())
        << "as text they mean the same";
    EXPECT_EQ(play(m_shell, pay()).value(u"value"_s).toDouble(), 10);
}

TEST_F(TillShares, ThatAreWrongAreToldInTheJournal)
{
    spendFor(R"({"position":"3","discount_bonus":50})");
    storage::setDataDirectory(m_data);
    EXPECT_EQ(storage::Journal().of(u"R-1"_s).last().event, u"unknown"_s);
    storage::setDataDirectory({});
}

TEST_F(TillShares, ThatAreWrongCanBeRolledBack)
{
    spendFor(R"({"position":"3","discount_bonus":50})");
    EXPECT_TRUE(play(m_shell, rollback()).value(u"ok"_s).toBool());
    play(m_shell, openSale("R-2"));
    EXPECT_EQ(play(m_shell, card).value(u"balance"_s).toDouble(), 300);
}

} // namespace tilltest
