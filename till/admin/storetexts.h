#pragma once

#include "host/storage/storebackup.h"

#include <QJsonObject>

namespace till {

/// "12 closed receipts, 3 messages waiting, 1 parked, …"
QString contentsText(const storage::StoreContents& contents);
/// The members of the JSON of `till backup` and `till restore`.
QJsonObject contentsJson(const storage::StoreContents& contents);

/// "receipt R-17", "page 23 of journal": what a table's row is to the administrator.
QString rowText(const QString& table, const QString& key);

/// The path of the file that a command was given. Throws UsageError when there is none.
QString existingFile(const QString& command, const QString& name);

} // namespace till
