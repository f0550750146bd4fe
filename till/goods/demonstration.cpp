#include "till/goods/demonstration.h"

using namespace Qt::StringLiterals;

namespace till {

// The barcodes are of the kind that a shop gives itself.
QList<Goods> demonstrationGoods()
{
    const QString piece = u"шт"_s;
    return {
        {u"4601"_s, u"Молоко 3,2 %"_s, 89.90, {u"2900000046016"_s}, piece, 1},
        {u"4602"_s, u"Хлеб ржаной"_s, 54.00, {u"2900000046023"_s}, piece, 2},
        {u"4603"_s, u"Сыр, 200 г"_s, 259.50, {u"2900000046030"_s}, piece, 3},
        {u"4604"_s, u"Чай чёрный"_s, 174.90, {u"2900000046047"_s}, piece, 4},
        {u"4605"_s, u"Яблоки, кг"_s, 119.00, {u"2900000046054"_s}, u"кг"_s, 5},
        {u"4606"_s, u"Яйца, 10 шт."_s, 132.00, {u"2900000046061"_s}, piece, 6},
        {u"4607"_s, u"Кофе, 250 г"_s, 489.00, {u"2900000046078"_s}, piece, 7},
        {u"4608"_s, u"Пакет"_s, 9.90, {u"2900000046085"_s}, piece, 8},
    };
}

} // namespace till
