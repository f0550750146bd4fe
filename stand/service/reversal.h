#pragma once

#include "stand/books/ledger.h"
#include "stand/service/receipts.h"

namespace stand {

class Accounts;
class Approvals;

/// What takes points back: the refusal of returned positions, and the cancellation of a whole spending.
/// Throws DatabaseError, and ApiError for what cannot be done.
class Reversal
{
public:
    Reversal(const Accounts& accounts, Ledger& ledger, Approvals& approvals)
        : m_accounts(accounts)
        , m_ledger(ledger)
        , m_approvals(approvals)
    {}

    /// Of an earning, by the sums returned; of a spending, by the quantities.
    Answer refusePayment(const QJsonObject& body);
    /// Whatever is left of a spending; a number that no spending has is remembered for one that comes late.
    Answer cancelPayment(const QJsonObject& body);

private:
    [[nodiscard]] QList<Entry> backTo(const Operation& root, Hundredths points);

    const Accounts& m_accounts;
    Ledger& m_ledger;
    Approvals& m_approvals;
};

} // namespace stand
