#pragma once

#include "stand/accounts.h"
#include "stand/database.h"
#include "stand/exchanges.h"
#include "stand/http.h"
#include "stand/service.h"

#include <QByteArray>
#include <QString>

namespace stand {

struct Credentials
{
    QString user = QStringLiteral("shop");
    QString password = QStringLiteral("secret-of-the-shop");
};

/// The whole stand behind its HTTP server: guards and logs the service under /v2/, shows its own pages.
class Stand
{
public:
    /// An empty `dataFile` keeps the data in memory. Throws DatabaseError.
    Stand(const QString& dataFile, const Credentials& credentials);

    /// Answers every request whatever is in it; throws nothing.
    Answer answer(const Request& request);

private:
    Answer serviceAnswer(const Request& request);
    Answer ownPage(const Request& request);
    Answer exchangesPage(const Request& request);

    Database m_database;
    Accounts m_accounts{m_database};
    Exchanges m_exchanges{m_database};
    Service m_service{m_accounts};
    QByteArray m_expected; ///< "user:password" in UTF-8.
};

} // namespace stand
