#include "till/window/catalogue.h"

#include <algorithm>

using namespace Qt::StringLiterals;

namespace till::window {

const QList<Goods>& catalogue()
{
    static const QList<Goods> goods{
        {u"4601"_s, u"Молоко 3,2 %"_s, 89.90}, {u"4602"_s, u"Хлеб ржаной"_s, 54.00},
        {u"4603"_s, u"Сыр, 200 г"_s, 259.50},  {u"4604"_s, u"Чай чёрный"_s, 174.90},
        {u"4605"_s, u"Яблоки, кг"_s, 119.00},  {u"4606"_s, u"Яйца, 10 шт."_s, 132.00},
        {u"4607"_s, u"Кофе, 250 г"_s, 489.00}, {u"4608"_s, u"Пакет"_s, 9.90},
    };
    return goods;
}

const Goods* findGoods(const QString& articul)
{
    const auto& goods = catalogue();
    const auto wanted = [&articul](const Goods& one) { return one.articul == articul; };
    const auto found = std::find_if(goods.begin(), goods.end(), wanted);
    return found == goods.end() ? nullptr : &*found;
}

} // namespace till::window
