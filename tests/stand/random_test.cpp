// Some hundreds of operations at random, against a reckoning of the test's own.

#include "tests/stand/shop.h"
#include "tests/stand/standfixture.h"

#include <QMap>

#include <algorithm>
#include <random>

using namespace Qt::StringLiterals;
using standtest::Check;
using standtest::hundredths;
using standtest::json;
using standtest::Reply;
using standtest::Shop;

namespace {

/// What the customer should have: told from the answers that a till would get, by the contract's rules alone.
struct Account
{
    int balance = 0; ///< Hundredths of a point, as the debt.
    int debt = 0;

    void earn(int points)
    {
        const auto settled = std::min(points, debt);
        debt -= settled;
        balance += points - settled;
    }
    void takeBackEarned(int points)
    {
        const auto missing = std::max(points - balance, 0);
        debt += missing;
        balance -= points - missing;
    }
};

struct Done
{
    QString card;
    bool isEarning = false;
    int left = 0; ///< What can still be taken back.
};

class RandomDay
{
public:
    [[nodiscard]] int succeeded() const { return m_succeeded; }

    void operate(int number)
    {
        const Check check{.number = QString::number(number),
                          .items = {{1, upTo(50000) / 100.0, 3}, {2, upTo(9999) / 100.0, 1}},
                          .card = m_accounts.keys().at(upTo(1))};
        switch (upTo(5)) {
        case 0:
        case 1:
            return spend(check, upTo(9000));
        case 2:
        case 3:
            return earn(check);
        case 4:
            return refuse(check, QString::number(std::max(1, number - upTo(12))));
        default:
            return cancel(QString::number(std::max(1, number - upTo(12))));
        }
    }

    void expectTheBooksToAgree() const
    {
        for (auto account = m_accounts.begin(); account != m_accounts.end(); ++account) {
            EXPECT_EQ(m_shop.balance(account.key()), account->balance);
            EXPECT_EQ(m_shop.debt(account.key()), -account->debt);
        }
        EXPECT_EQ(m_shop.page("invariants"), json(u"{'ok':true,'violations':[]}"_s));
    }

private:
    int upTo(int most) { return std::uniform_int_distribution(0, most)(m_random); }

    [[nodiscard]] bool isDone(const Reply& reply)
    {
        m_succeeded += reply.status == 200 ? 1 : 0;
        return reply.status == 200;
    }

    void spend(const Check& check, int points)
    {
        const auto written = QString::number(points / 100.0, 'f', 2);
        const auto approval = upTo(1) == 0 ? m_shop.payment(check, written) : Reply();
        const auto reply = approval.status == 0
                               ? m_shop.forcePayment(check, written)
                               : m_shop.confirm(approval.data().value(u"approve_id").toInt(), u"1234"_s);
        if (!isDone(reply))
            return;
        m_accounts[check.card].balance -= points;
        m_roots.insert(check.number, {check.card, false, points});
        m_chain.insert(check.number, check.number);
    }

    void earn(const Check& check)
    {
        const auto reply = m_shop.earn(check);
        ASSERT_TRUE(isDone(reply));
        const auto points = hundredths(reply.data().value(u"paymentBonus"));
        m_accounts[check.card].earn(points);
        m_roots.insert(check.number, {check.card, true, points});
        m_chain.insert(check.number, check.number);
    }

    void refuse(Check check, const QString& refused)
    {
        const auto root = m_chain.value(refused);
        if (!root.isEmpty())
            check.card = m_roots[root].card;
        const auto reply = m_shop.refuse(check, refused);
        ASSERT_EQ(isDone(reply), !root.isEmpty());
        if (root.isEmpty())
            return;
        takeBack(m_roots[root], hundredths(reply.data().value(u"refused_bonus")));
        m_chain.insert(check.number, root);
    }

    void cancel(const QString& number)
    {
        const auto reply = m_shop.cancel(number);
        ASSERT_TRUE(isDone(reply));
        const auto points = hundredths(reply.data().value(u"canceled_bonus"));
        const bool isFirst = !m_canceled.contains(number);
        m_canceled.append(number);
        const auto root = m_roots.find(number);
        if (root == m_roots.end() || root->isEarning)
            ASSERT_EQ(points, 0);
        else if (isFirst)
            takeBack(*root, points);
        if (root != m_roots.end() && !root->isEarning) {
            EXPECT_EQ(root->left, 0);
        }
    }

    void takeBack(Done& done, int points)
    {
        EXPECT_GE(points, 0);
        EXPECT_LE(points, done.left);
        done.left -= points;
        auto& account = m_accounts[done.card];
        if (done.isEarning)
            account.takeBackEarned(points);
        else
            account.balance += points;
    }

    Shop m_shop{{u"--ratio"_s, u"3:1"_s, u"--sms-code"_s, u"1234"_s}};
    // A fixed row: a failure can be seen again.
    std::mt19937 m_random{20261121}; // NOLINT(cert-msc32-c,cert-msc51-cpp)
    QMap<QString, Account> m_accounts = {{u"2000000000055"_s, {30000, 0}}, {u"2000000000024"_s, {5730, 0}}};
    QMap<QString, Done> m_roots;    ///< By receipt number.
    QMap<QString, QString> m_chain; ///< From the number of a root or of a refusal to the root's.
    QStringList m_canceled;
    int m_succeeded = 0;
};

TEST(StandBooksAtRandom, AgreeWithTheAnswersAndStayInOrder)
{
    RandomDay day;
    for (int number = 1; number <= 500; ++number)
        day.operate(number);
    EXPECT_GT(day.succeeded(), 300);
    day.expectTheBooksToAgree();
}

} // namespace
