#pragma once

#include "tests/soak/service.h"

#include <QStringList>

namespace soaktest {

/// What the stand's books say, without times and the numbers made of them: for each receipt with all its
/// returns a line with its operations in their order, for each receipt without a card the same, the balances,
/// and what the stand finds wrong with its books.
QStringList booksOf(const Service& service);

/// How many operations and receipts without a card they hold.
int operationsIn(const Service& service);

/// How often the stand was sent a request again that it had answered well already, with nothing gone wrong on
/// the way.
int needlessRepeats(const Service& service);

} // namespace soaktest
