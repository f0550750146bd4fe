#pragma once

#include "stand/books/accounts.h"
#include "stand/http/routes.h"
#include "stand/service/anonymous.h"
#include "stand/service/approvals.h"
#include "stand/service/cards.h"
#include "stand/service/earning.h"
#include "stand/service/reversal.h"

namespace stand {

class Database;

/// The contract under /v2/: which path and method means which answer. Who asks has been checked before.
class Service
{
public:
    Service(Database& database, const Tariff& tariff, const CodeRules& rules);
    Q_DISABLE_COPY_MOVE(Service)
    ~Service() = default;

    /// Throws DatabaseError; every fault of the caller is an answer with the error envelope.
    Answer answer(const Request& request);

    [[nodiscard]] const Tariff& tariff() const { return m_tariff; }
    /// Every path with its method, as `{"method", "path"}`.
    [[nodiscard]] QJsonArray paths() const { return m_routes.list(); }
    [[nodiscard]] QJsonArray codes() const { return m_approvals.list(); }
    [[nodiscard]] QJsonArray anonymousReceipts() const { return m_anonymous.list(); }

private:
    void addRoutes();

    Tariff m_tariff;
    Accounts m_accounts;
    Ledger m_ledger;
    Cards m_cards{m_accounts};
    Spending m_spending{m_accounts, m_ledger, m_tariff};
    Approvals m_approvals;
    Earning m_earning{m_accounts, m_ledger, m_tariff};
    Reversal m_reversal{m_accounts, m_ledger, m_approvals};
    Anonymous m_anonymous;
    Routes m_routes;
};

} // namespace stand
