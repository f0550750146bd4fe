#include "host/storage/datadirectory.h"
#include "host/storage/journal.h"
#include "tests/journey/till/tillprocess.h"
#include "tests/stand/http.h"
#include "tests/stand/standprocess.h"
#include "tests/support/lossyproxy.h"
#include "tests/support/rawdatabase.h"

#include <QFile>
#include <QJsonArray>

#include <gmock/gmock.h>

using namespace Qt::StringLiterals;
using namespace story;
using ::testing::HasSubstr;
using ::testing::Not;

namespace tilltest {

namespace {

const Step spendWithCode = spend.withCode("1234");
const QByteArray force = "/force-payment-c2b";
const QByteArray confirm = "/confirm-payment-c2b";
const QByteArray cancelPayment = "/cancel-payment";
const QByteArray earn = "/payment-b2c";

/// What the service itself says of the card's account.
QByteArray accountAt(const QString& service)
{
    return standtest::send(
               {.url = service.toUtf8() + "v2/partner/operation/user/card/2000000000055/user-info",
                .login = standtest::Login{}})
        .body;
}

/// A till on a service whose answers do not always come; both outlive the till's process.
class LossyTill : public ::testing::Test
{
protected:
    LossyTill()
        : m_stand({u"--sms-code"_s, u"1234"_s})
        , m_proxy(m_stand.url())
    {}

    void begin(const QByteArray& extra = {})
    {
        const QByteArray config =
            "[KYRLoyalty]\nuser = \"shop\"\npassword = \"secret-of-the-shop\"\nserverUrl = \"" +
            m_proxy.url().toUtf8() + "\"\n" + extra;
        startTill(m_files.write(u"till.toml"_s, config));
        for (const Step& step : {sale, card})
            EXPECT_TRUE(play(step).value(u"ok"_s).toBool());
    }
    void startTill(const QString& config)
    {
        m_config = config;
        start(m_shell,
              {u"shell"_s, u"--json"_s, u"--config"_s, config, u"--data-dir"_s, m_files.path(u"data"_s)});
    }
    QJsonObject play(const Step& step) { return tilltest::play(m_shell, step); }
    /// Kills the till and starts another.
    void powerCut()
    {
        m_shell.kill();
        ASSERT_TRUE(m_shell.waitForFinished(patienceMs));
        startTill(m_config);
    }
    /// What is left on the card after all, as the service says.
    double balanceAfterAll()
    {
        play(openSale("R-9"));
        return play(card).value(u"balance"_s).toDouble();
    }
    void expectUnknown(const QJsonObject& line)
    {
        EXPECT_FALSE(line.value(u"ok"_s).toBool());
        EXPECT_EQ(line.value(u"unknown"_s).toDouble(), 100);
        EXPECT_THAT(
            errorOf(line),
            HasSubstr("Чек R-1: исход списания 100,00 баллов неизвестен, повторите списание той же суммы "
                      "или отмените чек"));
    }
    ~LossyTill() override
    {
        m_shell.closeWriteChannel();
        m_shell.waitForFinished(patienceMs);
    }
    Q_DISABLE_COPY_MOVE(LossyTill)

    Files m_files;
    standtest::StandProcess m_stand;
    test_support::LossyProxy m_proxy;
    QProcess m_shell;
    QString m_config;
};

} // namespace

class LostAnswer : public LossyTill, public ::testing::WithParamInterface<std::pair<QByteArray, QByteArray>>
{};

// The plug-in's paths against those that the till knows, with the service as the judge between them.
TEST_P(LostAnswer, LeavesTheOutcomeUnknownJustWhenTheServiceHasMovedPoints)
{
    const auto& [setting, operation] = GetParam();
    begin(setting);
    const QByteArray before = accountAt(m_proxy.url());
    m_proxy.loseAnswer(operation);
    const QJsonObject line = play(spendWithCode);
    ASSERT_EQ(m_proxy.passed(operation), 1) << "the plug-in asks that";
    ASSERT_FALSE(line.value(u"ok"_s).toBool());
    ASSERT_THAT(before.toStdString(), HasSubstr("accounts_data"));
    EXPECT_EQ(!line.value(u"unknown"_s).isNull(), accountAt(m_proxy.url()) != before);
}

INSTANTIATE_TEST_SUITE_P(
    OfEachRequestOfASpending, LostAnswer,
    ::testing::Values(std::pair{QByteArray(), QByteArray("/pre-payment")}, std::pair{QByteArray(), force},
                      std::pair{QByteArray("smsVerification = true\n"), QByteArray("/payment-c2b")},
                      std::pair{QByteArray("smsVerification = true\n"), confirm}),
    [](const auto& parameter) { return parameter.param.second.mid(1).replace('-', '_').toStdString(); });

TEST_F(LossyTill, ASpendingWhoseAnswerIsLostIsUnknownAndAskingAgainFindsOut)
{
    begin();
    m_proxy.loseAnswer(force);
    expectUnknown(play(spendWithCode));
    const QJsonObject again = play(spendWithCode);
    EXPECT_TRUE(again.value(u"ok"_s).toBool());
    EXPECT_TRUE(again.value(u"unknown"_s).isNull());
    EXPECT_EQ(again.value(u"impacts"_s).toArray().size(), 1);
    EXPECT_TRUE(play(pay()).value(u"ok"_s).toBool());
    EXPECT_EQ(balanceAfterAll(), 210) << "300, less 100, and 10 earned";
}

TEST_F(LossyTill, AnUnknownSpendingSurvivesAPowerCutAndIsSaidInOneLine)
{
    begin();
    m_proxy.loseAnswer(force);
    play(spendWithCode);
    powerCut();
    EXPECT_EQ(play(restart()).value(u"unknown"_s).toDouble(), 100);
    // Though the balance that the service tells now is less than what was asked for.
    EXPECT_EQ(play(getCardInfo()).value(u"balance"_s).toDouble(), 200);
    EXPECT_TRUE(play(spendWithCode).value(u"ok"_s).toBool());
    EXPECT_TRUE(play(pay()).value(u"ok"_s).toBool());
    EXPECT_EQ(balanceAfterAll(), 210);
}

TEST_F(LossyTill, ARollbackResolvesAnUnknownSpending)
{
    begin();
    m_proxy.loseAnswer(force);
    play(spendWithCode);
    EXPECT_TRUE(play(rollback()).value(u"ok"_s).toBool());
    EXPECT_EQ(balanceAfterAll(), 300);
}

TEST_F(LossyTill, NothingElseIsDoneWhileTheOutcomeIsUnknown)
{
    begin();
    m_proxy.loseAnswer(force);
    play(spendWithCode);
    for (const Step& step : {pay(), cancel(), openSale("R-2"), spendPoints(50), card})
        expectUnknown(play(step));
    EXPECT_EQ(m_proxy.passed(force), 1);
}

TEST_F(LossyTill, ARefusalIsNoUnknownOutcome)
{
    begin();
    m_proxy.answerInstead(force, 422);
    EXPECT_TRUE(play(spendWithCode).value(u"unknown"_s).isNull());
    EXPECT_TRUE(play(spendPoints(50)).value(u"ok"_s).toBool());
}

TEST_F(LossyTill, ServerErrorsAndWhatIsNotJsonLeaveTheOutcomeUnknown)
{
    begin();
    for (const int status : {500, 503, 408, 425}) {
        m_proxy.answerInstead(force, status);
        expectUnknown(play(spendWithCode));
    }
    m_proxy.replaceAnswer(force, "<html>");
    expectUnknown(play(spendWithCode));
    EXPECT_TRUE(play(spendWithCode).value(u"ok"_s).toBool());
}

TEST_F(LossyTill, AnAnswerWithoutPositionsIsNotTakenForADiscount)
{
    begin();
    m_proxy.replaceAnswer(force, R"({"status":"success","data":{}})");
    expectUnknown(play(spendWithCode));
    powerCut();
    const QJsonObject again = play(spendWithCode);
    EXPECT_TRUE(again.value(u"ok"_s).toBool());
    EXPECT_EQ(again.value(u"impacts"_s).toArray().size(), 1);
    EXPECT_TRUE(play(pay()).value(u"ok"_s).toBool());
    EXPECT_EQ(balanceAfterAll(), 210);
}

TEST_F(LossyTill, ARefusedCallerSaysNothingOfAnEarlierSpending)
{
    begin();
    m_proxy.loseAnswer(force);
    play(spendWithCode);
    for (const int status : {401, 403, 429}) {
        m_proxy.answerInstead(force, status);
        expectUnknown(play(spendWithCode));
    }
    m_proxy.answerInstead(force, 422);
    EXPECT_TRUE(play(spendWithCode).value(u"unknown"_s).isNull()) << "the service judged the spending itself";
}

TEST_F(LossyTill, AWrongCodeSaysNothingOfAConfirmationWhoseAnswerWasLost)
{
    begin("smsVerification = true\n");
    m_proxy.loseAnswer(confirm);
    expectUnknown(play(spendWithCode));
    expectUnknown(play(spendPoints(100).withCode("9999")));
    EXPECT_TRUE(play(spendWithCode).value(u"ok"_s).toBool());
    EXPECT_TRUE(play(pay()).value(u"ok"_s).toBool());
    EXPECT_EQ(balanceAfterAll(), 210);
}

TEST_F(LossyTill, AWrongCodeTheFirstTimeIsARefusal)
{
    begin("smsVerification = true\n");
    EXPECT_TRUE(play(spendPoints(100).withCode("9999")).value(u"unknown"_s).isNull());
}

TEST_F(LossyTill, AnEarningThatTheServiceDidNotTakeIsSentLaterAndOnce)
{
    begin();
    m_proxy.answerInstead("/payment-b2c", 503);
    ASSERT_FALSE(test_support::openReceiptIn(m_files.path(u"data"_s)).isEmpty());
    EXPECT_TRUE(play(pay()).value(u"ok"_s).toBool());
    EXPECT_TRUE(play(deliver()).value(u"ok"_s).toBool()) << "unless the shell was quicker";
    EXPECT_EQ(m_proxy.passed("/payment-b2c"), 1);
    EXPECT_EQ(balanceAfterAll(), 315);
}

TEST_F(LossyTill, AnEmptyAnswerToASpendingLeavesTheOutcomeUnknown)
{
    begin();
    m_proxy.answerInstead(force, 204, {});
    expectUnknown(play(spendWithCode));
    m_proxy.replaceAnswer(force, "\n");
    expectUnknown(play(spendWithCode));
    EXPECT_TRUE(play(spendWithCode).value(u"ok"_s).toBool());
    EXPECT_TRUE(play(pay()).value(u"ok"_s).toBool());
    EXPECT_EQ(balanceAfterAll(), 210);
}

TEST_F(LossyTill, ACancellationThatGetsAnEmptyAnswerIsSentLater)
{
    begin();
    EXPECT_TRUE(play(spendWithCode).value(u"ok"_s).toBool());
    m_proxy.answerInstead(cancelPayment, 204, {});
    EXPECT_TRUE(play(rollback()).value(u"ok"_s).toBool());
    EXPECT_TRUE(play(deliver()).value(u"ok"_s).toBool());
    EXPECT_EQ(m_proxy.passed(cancelPayment), 1);
    EXPECT_EQ(balanceAfterAll(), 300);
}

TEST_F(LossyTill, AnEarningThatGetsAnEmptyAnswerIsSentLater)
{
    begin();
    m_proxy.answerInstead(earn, 200, {});
    EXPECT_TRUE(play(pay()).value(u"ok"_s).toBool());
    EXPECT_TRUE(play(deliver()).value(u"ok"_s).toBool());
    EXPECT_EQ(m_proxy.passed(earn), 1);
    EXPECT_EQ(balanceAfterAll(), 315);
}

TEST_F(LossyTill, AnEarningThatTheServiceTookAndAnsweredEmptilyIsTakenOnce)
{
    begin();
    m_proxy.replaceAnswer(earn, {});
    EXPECT_TRUE(play(pay()).value(u"ok"_s).toBool());
    EXPECT_TRUE(play(deliver()).value(u"ok"_s).toBool());
    EXPECT_EQ(m_proxy.passed(earn), 2);
    EXPECT_EQ(balanceAfterAll(), 315);
}

TEST_F(LossyTill, AReceiptThatKnowsNoNumbersIsRolledBackWithoutTheService)
{
    begin();
    EXPECT_TRUE(play(rollback()).value(u"ok"_s).toBool());
    EXPECT_EQ(m_proxy.passed("/cancel-payment"), 0);
}

TEST_F(LossyTill, TheJournalTellsWhatWasAskedForTheReceipt)
{
    begin();
    m_proxy.loseAnswer(force);
    for (const Step& step : {spendWithCode, spendWithCode, pay()})
        play(step);
    storage::setDataDirectory(m_files.path(u"data"_s));
    QStringList told;
    for (const storage::JournalEntry& entry : storage::Journal().of(u"R-1"_s))
        told.append(QStringList{entry.event, entry.operation}.join(u' ').trimmed());
    const QStringList spending{u"request pre-payment"_s, u"answer pre-payment"_s,
                               u"request force-payment-c2b"_s, u"answer force-payment-c2b"_s};
    EXPECT_EQ(told, QStringList{u"opened"_s} + spending + QStringList{u"unknown"_s} + spending +
                        QStringList({u"request payment-b2c"_s, u"answer payment-b2c"_s, u"closed"_s}));
    storage::setDataDirectory({});
}

TEST_F(LossyTill, ASecondTillOnTheSameDataIsRefused)
{
    begin();
    const Ran ran = runJson(pay(), {u"--config"_s, m_config, u"--data-dir"_s, m_files.path(u"data"_s)});
    EXPECT_EQ(ran.status, 2);
    EXPECT_THAT(ran.err.toStdString(), HasSubstr("another till works on this data directory"));
    EXPECT_TRUE(play(pay()).value(u"ok"_s).toBool());
}

} // namespace tilltest
