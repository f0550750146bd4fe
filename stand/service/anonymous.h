#pragma once

#include "stand/http/answers.h"

namespace stand {

class Database;

/// Receipts without a card: kept as they came. Throws DatabaseError, and ApiError for what cannot be done.
class Anonymous
{
public:
    explicit Anonymous(Database& database)
        : m_database(database)
    {}

    /// POST brings a sale, PUT what became of it by a return.
    Answer receipt(const QByteArray& method, const QJsonObject& body);

    [[nodiscard]] QJsonArray list() const;

private:
    Database& m_database;
};

} // namespace stand
