#pragma once

#include <QByteArray>
#include <QJsonDocument>
#include <QString>
#include <QStringView>
#include <QVariantMap>

#include <utility>
#include <variant>
#include <vector>

/// Compact JSON, the form of everything that goes to the service: byte for byte what QJsonDocument writes of
/// the same values, but straight from them. The customer waits for a long receipt, and half of that went into
/// QJsonDocument's copies.
namespace json {

/// The object that QJsonDocument::fromVariant() makes of the map: members in ascending order of their keys,
/// doubles in the shortest form that reads back (5, not 5.0), null for what is no number.
QByteArray compact(const QVariantMap& object);

/// An object whose members are known beforehand: keys, in ascending order, and values. The keys are seen, not
/// kept.
using Object = std::vector<std::pair<QStringView, std::variant<int, double, QString>>>;

/// A list of such objects.
QByteArray compact(const std::vector<Object>& list);

/// The same list as a value for a map.
QJsonDocument document(const std::vector<Object>& list);

} // namespace json
