#pragma once

#include "host/shop/connection.h"
#include "host/storage/cardsearch.h"
#include "host/storage/removal.h"

#include <QList>
#include <QString>

#include <variant>

/// What is removed of a customer who wants to be forgotten.
namespace shop {

/// Looks for a loyalty card's number in every receipt and every kept message in the database: minutes for
/// millions. Throws DatabaseError.
storage::CardTraces tracesOf(Connection& database, const QString& card);

/// Removes the receipts of a family (a sale with its returns, named by the sale), what was written back of
/// their cards, their journal and the queue's history of it, as one commit; or says why it has to stay.
/// Throws DatabaseError; then nothing was removed.
std::variant<storage::Need, QList<storage::RemovedReceipt>> removeFamily(Connection& database,
                                                                         const QString& family);

} // namespace shop
