#pragma once

#include "stand/books/database.h"
#include "stand/faults/faults.h"
#include "stand/http/delivery.h"
#include "stand/http/routes.h"
#include "stand/pages/exchanges.h"
#include "stand/pages/gate.h"
#include "stand/service/service.h"
#include "stand/service/terms.h"

#include <QByteArray>
#include <QString>

namespace stand {

/// The whole stand behind its HTTP server: guards and logs the service under /v2/, shows its own pages.
class Stand
{
public:
    /// An empty `dataFile` keeps the data in memory. Throws DatabaseError.
    Stand(const QString& dataFile, const Credentials& credentials, const Terms& terms, Gate gate);
    Q_DISABLE_COPY_MOVE(Stand)
    ~Stand() = default;

    /// Reacts to every request whatever is in it; throws nothing.
    Reaction react(const Request& request);

    [[nodiscard]] Faults& faults() { return m_faults; }

private:
    Reaction serviceReaction(const Request& request);
    Reaction strike(const Strike& strike, const Request& request);
    /// What the service says, and a trace of it.
    Answer serviceAnswer(const Request& request, const QString& fault = {});
    Answer performed(const Request& request, const QString& fault);
    /// A trace of what the service never came to know.
    void remember(const Request& request, const std::optional<Answer>& answer, const QString& fault);
    Answer ownPage(const Request& request);
    void addPages();
    [[nodiscard]] QJsonArray paths() const; ///< The service's and the stand's own.
    QJsonObject overview();                 ///< All that the page for people shows.
    [[nodiscard]] Answer exchangesPage(const Request& request) const;

    Database m_database;
    Exchanges m_exchanges{m_database};
    Service m_service;
    Faults m_faults;
    Gate m_gate;
    Routes m_pages;
    QByteArray m_expected; ///< "user:password" in UTF-8.
};

} // namespace stand
