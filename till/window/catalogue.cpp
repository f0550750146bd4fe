#include "till/window/catalogue.h"

#include <QRegularExpression>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace till::window {

namespace {

/// Of a marking code: 01, the barcode filled up with zeros, 21, the number of the one piece. Scanners put a
/// group separator before it, or not.
QString barcodeIn(const QString& code)
{
    static const QRegularExpression filled(uR"(^\x1D?01(\d{14})21)"_s);
    static const QRegularExpression zeros(u"^0+"_s);
    return filled.match(code).captured(1).remove(zeros);
}

} // namespace

const QList<Goods>& catalogue()
{
    // The barcodes are of the kind that a shop gives itself.
    static const QList<Goods> goods{
        {u"4601"_s, u"Молоко 3,2 %"_s, 89.90, {u"2900000046016"_s}},
        {u"4602"_s, u"Хлеб ржаной"_s, 54.00, {u"2900000046023"_s}},
        {u"4603"_s, u"Сыр, 200 г"_s, 259.50, {u"2900000046030"_s}},
        {u"4604"_s, u"Чай чёрный"_s, 174.90, {u"2900000046047"_s}},
        {u"4605"_s, u"Яблоки, кг"_s, 119.00, {u"2900000046054"_s}},
        {u"4606"_s, u"Яйца, 10 шт."_s, 132.00, {u"2900000046061"_s}},
        {u"4607"_s, u"Кофе, 250 г"_s, 489.00, {u"2900000046078"_s}},
        {u"4608"_s, u"Пакет"_s, 9.90, {u"2900000046085"_s}},
    };
    return goods;
}

const Goods* findGoods(const QString& code)
{
    const auto& goods = catalogue();
    const QString barcode = barcodeIn(code);
    const auto wanted = [&](const Goods& one) {
        return one.articul == code || one.barcodes.contains(code) || one.barcodes.contains(barcode);
    };
    const auto found = std::find_if(goods.begin(), goods.end(), wanted);
    return found == goods.end() ? nullptr : &*found;
}

} // namespace till::window
