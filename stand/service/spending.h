#pragma once

#include "stand/books/ledger.h"
#include "stand/service/receipts.h"

namespace stand {

class Accounts;

/// A receipt that is to be paid with points in part.
struct SpendingRequest
{
    Receipt receipt;
    Hundredths points = 0;

    [[nodiscard]] Key key() const;
};

/// Spending of points. Throws DatabaseError, and ApiError for what cannot be done.
class Spending
{
public:
    Spending(const Accounts& accounts, Ledger& ledger, const Tariff& tariff)
        : m_accounts(accounts)
        , m_ledger(ledger)
        , m_tariff(tariff)
    {}

    [[nodiscard]] static SpendingRequest requestFrom(const QJsonObject& body);

    /// What could be spent and what the receipt would then earn; changes nothing.
    [[nodiscard]] Answer prePayment(const QJsonObject& body) const;

    /// Throws ApiError unless the spending could be performed now.
    void check(const SpendingRequest& request) const { static_cast<void>(plan(request)); }
    /// Checks everything again and moves the points; the number of the operation.
    qint64 perform(const SpendingRequest& request);

private:
    struct Plan
    {
        qint64 account = 0;
        QList<Hundredths> discounts; ///< Money, for each position.
        QList<Hundredths> points;    ///< For each position.
    };
    [[nodiscard]] Plan plan(const SpendingRequest& request) const;
    /// Money, for each position.
    [[nodiscard]] QList<Hundredths> discountLimits(const Receipt& receipt) const;

    const Accounts& m_accounts;
    Ledger& m_ledger;
    const Tariff& m_tariff;
};

} // namespace stand
