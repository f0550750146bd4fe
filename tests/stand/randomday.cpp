#include "tests/stand/randomday.h"

#include "tests/stand/standfixture.h"

#include <algorithm>

using namespace Qt::StringLiterals;

namespace standtest {

void RandomDay::operate(int number)
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

void RandomDay::expectTheBooksToAgree(const Shop& shop) const
{
    for (auto account = m_accounts.begin(); account != m_accounts.end(); ++account) {
        EXPECT_EQ(shop.balance(account.key()), account->balance);
        EXPECT_EQ(shop.debt(account.key()), -account->debt);
    }
    EXPECT_EQ(shop.page("invariants")[u"violations"], QJsonValue(QJsonArray()));
}

bool RandomDay::isDone(const Reply& reply)
{
    m_succeeded += reply.status == 200 ? 1 : 0;
    return reply.status == 200;
}

void RandomDay::spend(const Check& check, int points)
{
    const auto written = QString::number(points / 100.0, 'f', 2);
    const auto approval = upTo(1) == 0 ? m_send("payment-c2b", spending(check, written)) : Reply();
    const auto reply =
        approval.status == 0
            ? m_send("force-payment-c2b", spending(check, written))
            : m_send("confirm-payment-c2b", {{u"approve_id"_s, approval.data().value(u"approve_id").toInt()},
                                             {u"code"_s, u"1234"_s}});
    if (!isDone(reply))
        return;
    m_accounts[check.card].balance -= points;
    m_roots.insert(check.number, {check.card, false, points});
    m_chain.insert(check.number, check.number);
}

void RandomDay::earn(const Check& check)
{
    const auto reply = m_send("payment-b2c", receipt(check));
    ASSERT_TRUE(isDone(reply));
    const auto points = hundredths(reply.data().value(u"paymentBonus"));
    m_accounts[check.card].earn(points);
    m_roots.insert(check.number, {check.card, true, points});
    m_chain.insert(check.number, check.number);
}

void RandomDay::refuse(Check check, const QString& refused)
{
    const auto root = m_chain.value(refused);
    if (!root.isEmpty())
        check.card = m_roots[root].card;
    const auto reply = m_send("refuse-payment", refusal(check, refused));
    ASSERT_EQ(isDone(reply), !root.isEmpty());
    if (root.isEmpty())
        return;
    takeBack(m_roots[root], hundredths(reply.data().value(u"refused_bonus")));
    m_chain.insert(check.number, root);
}

void RandomDay::cancel(const QString& number)
{
    const auto reply = m_send("cancel-payment", cancellation(QString(number + u"-cancel"_s), number));
    ASSERT_TRUE(isDone(reply));
    const auto points = hundredths(reply.data().value(u"canceled_bonus"));
    const bool isFirst = !m_canceled.contains(number);
    m_canceled.insert(number, true);
    const auto root = m_roots.find(number);
    if (root == m_roots.end() || root->isEarning)
        ASSERT_EQ(points, 0);
    else if (isFirst)
        takeBack(*root, points);
    if (root != m_roots.end() && !root->isEarning) {
        EXPECT_EQ(root->left, 0);
    }
}

void RandomDay::takeBack(Done& done, int points)
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

QStringList RandomDay::arguments() { return {u"--ratio"_s, u"3:1"_s, u"--sms-code"_s, u"1234"_s}; }

} // namespace standtest
