#pragma once

#include <QJsonValue>
#include <QStringList>

namespace stand {

/// Every member and element of a JSON value, as paths such as "data.cards_data.0.number", in their order.
[[nodiscard]] QStringList fieldsOf(const QJsonValue& value);

/// The value with one field of another type: "number", "text", "bool", "null", "list", "object", "missing",
/// or "other" for one that it does not have. Where the path has "*", each element. Unchanged when there is
/// none.
[[nodiscard]] QJsonValue withType(const QJsonValue& value, const QString& field, const QString& type);

} // namespace stand
