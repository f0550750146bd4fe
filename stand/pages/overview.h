#pragma once

#include <QJsonObject>

namespace stand {

class Database;

/// What the page shows of the books and the exchanges: the newest first, and only some of each. Throws
/// DatabaseError.
[[nodiscard]] QJsonObject booksOverview(Database& database);

} // namespace stand
