#pragma once

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

/// What is set for all customers alike.
struct Terms
{
    Tariff tariff;
    CodeRules codes;
};

/// The whole stand behind its HTTP server: guards and logs the service under /v2/, shows its own pages.
class Stand
{
public:
    /// An empty `dataFile` keeps the data in memory. Throws DatabaseError.
    Stand(const QString& dataFile, const Credentials& credentials, const Terms& terms);

    /// Answers every request whatever is in it; throws nothing.
    Answer answer(const Request& request);

private:
    Answer serviceAnswer(const Request& request);
    Answer ownPage(const Request& request);
    [[nodiscard]] Answer exchangesPage(const Request& request) const;

    Database m_database;
    Exchanges m_exchanges{m_database};
    Service m_service;
    QByteArray m_expected; ///< "user:password" in UTF-8.
};

} // namespace stand
