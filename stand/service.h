#pragma once

#include "stand/http.h"

#include <QString>

namespace stand {

class Accounts;

/// The contract under /v2/: which path and method means which answer. Who asks has been checked before.
class Service
{
public:
    explicit Service(const Accounts& accounts)
        : m_accounts(accounts)
    {}

    /// Throws DatabaseError; every fault of the caller is an answer with the error envelope.
    Answer answer(const Request& request) const;

private:
    struct Route;
    static const QList<Route>& routes();

    Answer cardInfo(const QString& number) const;
    Answer userAccount(const QString& number) const;
    Answer userInfoByCard(const QString& number) const;
    Answer userInfoByPhone(const QString& phone) const;

    const Accounts& m_accounts;
};

} // namespace stand
