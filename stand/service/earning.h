#pragma once

#include "stand/books/ledger.h"
#include "stand/service/receipts.h"

namespace stand {

class Accounts;

/// Points for a receipt. Throws DatabaseError, and ApiError for what cannot be done.
class Earning
{
public:
    Earning(const Accounts& accounts, Ledger& ledger, const Tariff& tariff)
        : m_accounts(accounts)
        , m_ledger(ledger)
        , m_tariff(tariff)
    {}

    /// A debt of the customer is settled first; the answer tells all that was earned.
    Answer payment(const QJsonObject& body);

private:
    const Accounts& m_accounts;
    Ledger& m_ledger;
    const Tariff& m_tariff;
};

} // namespace stand
