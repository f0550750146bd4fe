#include "till/goods/goods.h"

using namespace Qt::StringLiterals;

namespace till {

bool isWeighed(const Goods& goods)
{
    const QString unit = goods.unit.toCaseFolded();
    return unit == u"кг"_s || unit == u"кг."_s || unit == u"kg"_s;
}

} // namespace till
