#pragma once

#include <QByteArray>

/// The open receipt as it lies in the store.
namespace storage {

class Database;

/// Its sealed content, whole or not; empty when there is none.
QByteArray openReceiptIn(const Database& store);

} // namespace storage
