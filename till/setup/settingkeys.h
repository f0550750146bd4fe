#pragma once

#include "host/utils/config.h"
#include "till/cli/serviceaddress.h"

#include <QList>
#include <QString>
#include <QStringList>
#include <QVariant>

#include <optional>

namespace till {

/// The keys that more than one place reads.
namespace keys {
inline const QString serverUrl = QStringLiteral("KYRLoyalty:serverUrl");
inline const QString user = QStringLiteral("KYRLoyalty:user");
inline const QString password = QStringLiteral("KYRLoyalty:password");
inline const QString timeout = QStringLiteral("KYRLoyalty:timeout");
inline const QString ratio = QStringLiteral("KYRLoyalty:bonusRatio");
inline const QString passwordFile = QStringLiteral("Till:passwordFile");
inline const QString dataDirectory = QStringLiteral("Till:dataDirectory");
inline const QString logFile = QStringLiteral("Till:logFile");
inline const QString logLevel = QStringLiteral("Till:logLevel");
inline const QString keepDays = QStringLiteral("Till:keepDays");
inline const QString keepJournalDays = QStringLiteral("Till:keepJournalDays");
inline const QString metricsFile = QStringLiteral("Till:metricsFile");
inline const QString alarm = QStringLiteral("Till:alarmAfterMinutes");
inline const QString language = QStringLiteral("Till:language");
inline const QString scanPrefix = QStringLiteral("Till:scanPrefix");
inline const QString scanSuffix = QStringLiteral("Till:scanSuffix");
inline const QString cardPrefixes = QStringLiteral("Till:cardPrefixes");
inline const QString weightPrefixes = QStringLiteral("Till:weightPrefixes");
inline const QString shopDatabase = QStringLiteral("Shop:database");
inline const QString shopTill = QStringLiteral("Shop:till");
inline const QString goods = QStringLiteral("Till:goods");
} // namespace keys

/// Every key that the till and its plug-in know.
QList<ConfigKey> knownKeys();

/// Why the till does not start with that value, although it is of the key's type and the plug-in may take it;
/// nothing: it does.
std::optional<Fault> faultOfValue(const QString& key, const QVariant& value);

/// The same of the prefixes of scales' barcodes, beside those of cards.
std::optional<Fault> faultOfWeightPrefixes(const Config& config);

/// What stands between commas.
QStringList listOf(const QString& text);

} // namespace till
