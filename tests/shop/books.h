#pragma once

#include "tests/journey/shop/shop.h"

#include <QStringList>

namespace shopday {

/// What the service knows of each receipt, a line each, its operations in their order; the accounts; and what
/// is wrong with its books. Without the numbers that it gives, and whichever receipt, or rival, came first.
QStringList booksOf(const tilltest::ShopWorld& world);

} // namespace shopday
