#pragma once

#include <QJsonArray>
#include <QJsonObject>

namespace stand {

class Database;

/// The ledger as it stands: operations, entries and accounts, amounts in points. Throws DatabaseError.
QJsonObject ledgerPage(Database& database, const QJsonArray& anonymous);

/// {"ok": …, "violations": […]}: whether the books are in order, told from the data alone and not from what
/// wrote it. Throws DatabaseError.
QJsonObject invariantsPage(Database& database);

} // namespace stand
