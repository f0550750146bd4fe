#pragma once

#include <QJsonArray>
#include <QJsonObject>

namespace stand {

class Database;
struct Tariff;

/// The ledger as it stands: operations, entries and accounts, amounts in points. Throws DatabaseError.
QJsonObject ledgerPage(Database& database, const QJsonArray& anonymous);

/// {"ok": …, "violations": […], "left_by_thresholds": […]}: whether the books are in order, told from the
/// data alone and not from what wrote it, and what stays spent in them because nobody was told of its return.
/// Throws DatabaseError.
QJsonObject invariantsPage(Database& database, const Tariff& tariff);

} // namespace stand
