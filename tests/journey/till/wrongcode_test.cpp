// What a cashier may do after a code that was wrong, or was not entered.

#include "tests/journey/till/kepttill.h"
#include "tests/stand/http.h"
#include "tests/stand/standprocess.h"

#include <QJsonArray>

using namespace Qt::StringLiterals;
using namespace story;
using ::testing::HasSubstr;

namespace tilltest {

namespace {

const Step fifty = spendPoints(50).withCode("9999");
const Step twenty = spendPoints(20).withCode("1234");

/// A till that spends with codes, on a stand that the test asks too.
class WrongCode : public ::testing::Test
{
protected:
    WrongCode()
        : m_stand({u"--sms-code"_s, u"1234"_s})
        , m_service(m_stand.url())
    {
        const QByteArray config =
            "[KYRLoyalty]\nuser = \"shop\"\npassword = \"secret-of-the-shop\"\nsmsVerification = true\n"
            "serverUrl = \"" +
            m_service + "/\"\n";
        start(m_shell, {u"shell"_s, u"--json"_s, u"--config"_s, m_files.write(u"till.toml"_s, config),
                        u"--data-dir"_s, m_files.path(u"data"_s)});
        for (const Step& step : {sale, card})
            expectDone(step);
    }
    ~WrongCode() override { end(m_shell); }
    Q_DISABLE_COPY_MOVE(WrongCode)

    QJsonObject play(const Step& step) { return tilltest::play(m_shell, step); }
    void expectDone(const Step& step)
    {
        const QJsonObject line = play(step);
        EXPECT_TRUE(line.value(u"ok"_s).toBool()) << errorOf(line);
    }
    [[nodiscard]] QJsonValue page(const QByteArray& name) const
    {
        return standtest::send({.url = m_service + "/stand/" + name}).json();
    }
    /// As a request of an earlier spending that was long on its way.
    [[nodiscard]] standtest::Reply confirm(int approval) const
    {
        return standtest::send(
            {.url = m_service + "/v2/partner/operation/confirm-payment-c2b",
             .method = "POST",
             .login = standtest::Login(),
             .body = R"({"code":"1234","approve_id":)" + QByteArray::number(approval) + '}'});
    }
    /// The points of every spending, in their order; the books are in order too.
    [[nodiscard]] QList<double> spendings() const
    {
        EXPECT_TRUE(page("invariants")[u"ok"_s].toBool());
        QList<double> points;
        for (const auto& operation : page("ledger")[u"operations"_s].toArray()) {
            if (operation[u"operation"_s] == u"spending"_s)
                points.append(operation[u"points"_s].toDouble());
        }
        return points;
    }

    Files m_files;
    standtest::StandProcess m_stand;
    QByteArray m_service;
    QProcess m_shell;
};

} // namespace

TEST_F(WrongCode, LetsFewerPointsBeSpentOnOtherPositions)
{
    EXPECT_THAT(errorOf(play(fifty)), HasSubstr("Неверный код подтверждения"));
    expectDone(setPositions({honey(100)}));
    const QJsonObject spent = play(twenty);
    EXPECT_TRUE(spent.value(u"ok"_s).toBool()) << errorOf(spent);
    EXPECT_EQ(spent.value(u"impacts"_s).toArray().at(0)[u"sum"_s].toDouble(), 20);
    const QJsonObject paid = play(pay());
    EXPECT_TRUE(paid.value(u"ok"_s).toBool());
    EXPECT_EQ(paid.value(u"value"_s).toDouble(), 4) << "5 % of 100 less 20";
    EXPECT_EQ(spendings(), QList<double>{20});
}

TEST_F(WrongCode, LetsTheSamePointsBeSpentWithTheRightOne)
{
    EXPECT_FALSE(play(fifty).value(u"ok"_s).toBool());
    expectDone(spendPoints(50).withCode("1234"));
    expectDone(pay());
    EXPECT_EQ(spendings(), QList<double>{50});
}

TEST_F(WrongCode, EnteredTooOftenLetsASpendingBeginAnew)
{
    for (int i = 0; i < 4; ++i)
        EXPECT_FALSE(play(fifty).value(u"ok"_s).toBool());
    expectDone(twenty);
    expectDone(pay());
    EXPECT_EQ(spendings(), QList<double>{20});
}

TEST_F(WrongCode, NotEnteredAtAllLetsOtherPointsBeSpent)
{
    const QByteArray emptyLine = "\n"; // which is how the shell's dialog is canceled
    const QJsonObject canceled = tilltest::play(m_shell, spendPoints(50).json() + emptyLine);
    EXPECT_THAT(errorOf(canceled), HasSubstr("Пользователь отменил ввод кода"));
    expectDone(twenty);
    expectDone(pay());
    EXPECT_EQ(spendings(), QList<double>{20});
}

TEST_F(WrongCode, LeavesNothingThatCouldStillBeConfirmed)
{
    EXPECT_FALSE(play(fifty).value(u"ok"_s).toBool());
    expectDone(twenty);
    EXPECT_EQ(confirm(1).status, 409) << "the spending of 50, replaced by that of 20";
    expectDone(pay());
    EXPECT_EQ(confirm(1).status, 409);
    EXPECT_EQ(spendings(), QList<double>{20});
}

TEST_F(WrongCode, LetsTheReceiptBePaidWithoutPoints)
{
    EXPECT_FALSE(play(fifty).value(u"ok"_s).toBool());
    expectDone(pay());
    EXPECT_EQ(spendings(), QList<double>{});
}

} // namespace tilltest
