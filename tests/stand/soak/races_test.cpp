// Two tills at the same moment on one card.

#include "tests/stand/shop.h"
#include "tests/stand/soak/sizes.h"
#include "tests/stand/standfixture.h"

#include <latch>
#include <thread>

using namespace Qt::StringLiterals;
using standtest::Check;
using standtest::json;
using standtest::refusalText;
using standtest::Reply;
using standtest::Shop;

namespace {

constexpr int wholeBalance = 30000;

Check numbered(const QString& number)
{
    Check check;
    check.number = number;
    return check;
}

/// Runs both at once; their answers.
template <typename One, typename Other>
std::pair<Reply, Reply> race(One one, Other other)
{
    std::latch start(2);
    Reply first;
    std::thread till([&] {
        start.arrive_and_wait();
        first = one();
    });
    start.arrive_and_wait();
    auto second = other();
    till.join();
    return {first, second};
}

class Races
{
public:
    void run(int number)
    {
        m_number = u"r%1"_s.arg(number);
        switch (number % 5) {
        case 0:
            return wantTheSamePoints();
        case 1:
            return sendTheSameRequest();
        case 2:
            return confirmTheSameCode();
        case 3:
            return spendAndCancel();
        default:
            return returnTheSameSale();
        }
    }

    /// After every race the card has what it had.
    void expectNoDrift() const
    {
        EXPECT_EQ(m_shop.balance(), wholeBalance);
        EXPECT_EQ(m_shop.debt(), 0);
        EXPECT_EQ(m_shop.page("invariants")[u"violations"], QJsonValue(QJsonArray()));
    }

private:
    void wantTheSamePoints()
    {
        const auto spend = [this](const QString& till) {
            auto check = numbered(m_number + till);
            check.items = {{1, 1000}};
            return m_shop.forcePayment(check, u"300.00"_s);
        };
        const auto [one, other] = race([&] { return spend(u"a"_s); }, [&] { return spend(u"b"_s); });
        const bool oneWon = one.status == 200;
        EXPECT_NE(oneWon, other.status == 200) << "exactly one gets them";
        EXPECT_EQ(refusalText(oneWon ? other : one), "422 Недостаточно бонусов на карте");
        EXPECT_EQ(m_shop.cancel(m_number + (oneWon ? u"a"_s : u"b"_s)).data().value(u"canceled_bonus"), 300);
    }

    void sendTheSameRequest()
    {
        const auto spend = [this] { return m_shop.forcePayment(numbered(m_number), u"7.00"_s); };
        const auto [one, other] = race(spend, spend);
        EXPECT_EQ(one.status, 200);
        EXPECT_EQ(one.body, other.body);
        EXPECT_EQ(m_shop.cancel(m_number).data().value(u"canceled_bonus"), 7) << "spent once";
    }

    void confirmTheSameCode()
    {
        const auto id = m_shop.payment(numbered(m_number), u"7.00"_s).data().value(u"approve_id").toInt();
        const auto confirm = [this, id] { return m_shop.confirm(id, u"1234"_s); };
        const auto [one, other] = race(confirm, confirm);
        EXPECT_EQ(one.status, 200);
        EXPECT_EQ(one.body, other.body);
        EXPECT_EQ(m_shop.cancel(m_number).data().value(u"canceled_bonus"), 7) << "spent once";
    }

    void spendAndCancel()
    {
        const auto [spent, canceled] =
            race([this] { return m_shop.forcePayment(numbered(m_number), u"7.00"_s); },
                 [this] { return m_shop.cancel(m_number); });
        EXPECT_EQ(canceled.status, 200);
        if (spent.status == 200)
            EXPECT_EQ(canceled.data().value(u"canceled_bonus"), 7);
        else
            EXPECT_EQ(refusalText(spent), "409 Списание по этому номеру отменено");
    }

    void returnTheSameSale()
    {
        EXPECT_EQ(m_shop.earn(numbered(m_number)).data().value(u"paymentBonus"), 5);
        const auto refuse = [this](const QString& till) {
            return m_shop.refuse(numbered(m_number + till), m_number);
        };
        const auto [one, other] = race([&] { return refuse(u"a"_s); }, [&] { return refuse(u"b"_s); });
        EXPECT_EQ(one.data().value(u"refused_bonus").toDouble() +
                      other.data().value(u"refused_bonus").toDouble(),
                  5)
            << "taken back once";
    }

    Shop m_shop{{u"--sms-code"_s, u"1234"_s}};
    QString m_number;
};

TEST(StandSoak, TwoTillsRacingForOneCardNeverMakeOrLoseAPoint)
{
    constexpr int betweenLooks = 500;
    Races races;
    for (int number = 1; number <= standtest::sizes().races && !::testing::Test::HasFailure(); ++number) {
        races.run(number);
        if (number % betweenLooks == 0)
            races.expectNoDrift();
    }
    races.expectNoDrift();
}

} // namespace
