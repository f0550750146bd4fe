#pragma once

#include "tests/stand/shop.h"

#include <QMap>

#include <functional>
#include <random>

namespace standtest {

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

/// Operations at random on two cards, and a reckoning of what they should come to, told from the answers that
/// a till would get, by the contract's rules alone. The ratio of the shop is 3:1, its code 1234.
class RandomDay
{
public:
    /// Posts a body to an operation.
    using Send = std::function<Reply(const QByteArray& operation, const QJsonObject& body)>;

    explicit RandomDay(Send send)
        : m_send(std::move(send))
    {}

    /// One customer's wish, which may take two requests. `number` goes up from 1.
    void operate(int number);

    [[nodiscard]] int succeeded() const { return m_succeeded; }

    void expectTheBooksToAgree(const Shop& shop) const;

    static QStringList arguments();

private:
    int upTo(int most) { return std::uniform_int_distribution(0, most)(m_random); }
    [[nodiscard]] bool isDone(const Reply& reply);
    void spend(const Check& check, int points);
    void earn(const Check& check);
    void refuse(Check check, const QString& refused);
    void cancel(const QString& number);
    void takeBack(Done& done, int points);

    Send m_send;
    // A fixed row: a failure can be seen again.
    std::mt19937 m_random{20261121}; // NOLINT(cert-msc32-c,cert-msc51-cpp)
    QMap<QString, Account> m_accounts = {{QStringLiteral("2000000000055"), {30000, 0}},
                                         {QStringLiteral("2000000000024"), {5730, 0}}};
    QMap<QString, Done> m_roots;    ///< By receipt number.
    QMap<QString, QString> m_chain; ///< From the number of a root or of a refusal to the root's.
    QMap<QString, bool> m_canceled;
    int m_succeeded = 0;
};

} // namespace standtest
