#pragma once

#include "stand/http/http.h"

#include <QDateTime>
#include <QJsonArray>

namespace stand {

class Database;

/// The log of every exchange under /v2/, for tests and people. Credentials are not kept: of the request's
/// headers only a few harmless ones are, and the code of a confirmation is covered. Throws DatabaseError.
class Exchanges
{
public:
    explicit Exchanges(Database& database)
        : m_database(database)
    {}

    /// `fault` is the name of what went wrong on purpose, or empty. Of an exchange that the service never
    /// came to know `answer` has status 0.
    void add(const QDateTime& time, const Request& request, bool authorized, const Answer& answer,
             const QString& fault);

    /// Those with a number above `number`, in their order.
    [[nodiscard]] QJsonArray after(qint64 number) const;

private:
    Database& m_database;
};

} // namespace stand
