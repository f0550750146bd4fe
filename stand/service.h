#pragma once

#include "stand/http.h"

#include <QString>

namespace stand {

class Accounts;

/// The contract under /v2/: which path and method means which answer. Who asks has been checked before.
class Service
{
public:
    explicit Service(Accounts& accounts)
        : m_accounts(accounts)
    {}

    /// Throws DatabaseError; every fault of the caller is an answer with the error envelope.
    Answer answer(const Request& request);

private:
    struct Route;
    static const QList<Route>& routes();

    Answer cardInfo(const QString& number);
    Answer userAccount(const QString& number);
    Answer userInfoByCard(const QString& number);
    Answer userInfoByPhone(const QString& phone);

    Accounts& m_accounts;
};

} // namespace stand
