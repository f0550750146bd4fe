#pragma once

#include "till/goods/goods.h"

#include <QList>

namespace till {

/// A few goods to try the till with, where nobody names a file of them.
QList<Goods> demonstrationGoods();

} // namespace till
