#pragma once

#include "stand/service/codes.h"
#include "stand/service/spending.h"

#include <QJsonArray>

namespace stand {

class Database;

/// Spendings at once, and those that wait for the customer's code: of one receipt number only the newest.
/// Throws DatabaseError, and ApiError for what cannot be done.
class Approvals
{
public:
    Approvals(Database& database, const Accounts& accounts, const Ledger& ledger, Spending& spending,
              CodeRules rules)
        : m_database(database)
        , m_accounts(accounts)
        , m_ledger(ledger)
        , m_spending(spending)
        , m_rules(std::move(rules))
    {}

    /// Spends at once.
    Answer forcePayment(const QJsonObject& body);
    /// Checks the spending and "sends" a code, which only the stand's own page and stderr tell.
    Answer payment(const QJsonObject& body);
    /// Performs the spending when the code is right and in time.
    Answer confirmPayment(const QJsonObject& body);

    /// Whatever waits under this receipt number can no longer be confirmed.
    void cancel(const QString& receiptNumber);

    /// Every code sent, for the person who plays the customer.
    [[nodiscard]] QJsonArray list() const;

private:
    struct Approval;
    [[nodiscard]] std::optional<Approval> approval(const QString& condition,
                                                   const QVariantList& values) const;
    [[nodiscard]] Answer confirm(const Approval& approval);
    [[nodiscard]] Answer countWrongCode(const Approval& approval);
    void setState(qint64 id, const QString& state);
    /// What waits for this card under this receipt number gives way to a later request.
    void replaceWaiting(const Receipt& receipt);
    qint64 add(const SpendingRequest& request, const QJsonObject& body);

    Database& m_database;
    const Accounts& m_accounts;
    const Ledger& m_ledger;
    Spending& m_spending;
    CodeRules m_rules;
};

} // namespace stand
