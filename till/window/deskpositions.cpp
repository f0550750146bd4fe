#include "till/window/desk.h"

#include "host/utils/money.h"
#include "host/utils/quantity.h"
#include "till/checkout/screen.h"

#include <algorithm>

using namespace Qt::StringLiterals;

/// The goods' side of the desk.
namespace till::window {

QVariantList Desk::positions() const
{
    QVariantList list;
    const auto items = receipt()->getGoodsItems();
    for (const auto& item : items) {
        list.append(QVariantMap{{u"articul"_s, item->getArticul()},
                                {u"name"_s, item->getName(false)},
                                {u"price"_s, item->getPrice()},
                                {u"quantity"_s, item->getBquant()},
                                {u"discount"_s, item->getDiscount()}});
    }
    return list;
}

void Desk::replacePositions(const QVariantList& positions)
{
    if (!play(u"setPositions"_s, {{u"positions"_s, positions}}))
        return;
    m_serviceLimit.reset(); // it was for another receipt
    say(Notice::Kind::Plain, u"Товаров в чеке: %1"_s.arg(positions.size()));
    Q_EMIT changed();
}

void Desk::addGoods(const Goods& goods)
{
    if (stage() == Stage::Between)
        openSale();
    if (stage() != Stage::Sale)
        return;
    QVariantList list = positions();
    const auto same = std::find_if(list.begin(), list.end(), [&goods](const QVariant& entry) {
        return entry.toMap().value(u"articul"_s) == goods.articul;
    });
    if (same != list.end()) {
        QVariantMap position = same->toMap();
        position[u"quantity"_s] = position[u"quantity"_s].toDouble() + 1;
        *same = position;
    } else {
        list.append(QVariantMap{{u"articul"_s, goods.articul},
                                {u"name"_s, goods.name},
                                {u"price"_s, goods.price},
                                {u"quantity"_s, 1.0},
                                {u"discount"_s, 0.0}});
    }
    replacePositions(list);
}

bool Desk::addArticle(const QString& articul)
{
    const Goods* goods = findGoods(articul.trimmed());
    if (!goods) {
        say(Notice::Kind::Bad,
            u"Артикула «%1» нет: введите другой или выберите товар кнопкой"_s.arg(articul));
        return false;
    }
    addGoods(*goods);
    return true;
}

void Desk::setQuantity(int posnum, double quantity)
{
    QVariantList list = positions();
    QVariantMap position = list.value(posnum - 1).toMap();
    if (position.isEmpty())
        return;
    constexpr double most = 9999; // what is more was meant for another field
    if (!utils::toThousandths(quantity) || quantity > most)
        return say(Notice::Kind::Bad, u"Количество — от 0,001 до 9999, не мельче тысячных"_s);
    const double whole = utils::roundToHundredths(position[u"price"_s].toDouble() * quantity);
    if (position[u"discount"_s].toDouble() > whole)
        return say(Notice::Kind::Bad, u"Скидка больше суммы: сначала уменьшите скидку"_s);
    position[u"quantity"_s] = quantity;
    list[posnum - 1] = position;
    replacePositions(list);
}

void Desk::setDiscount(int posnum, double discount)
{
    QVariantList list = positions();
    QVariantMap position = list.value(posnum - 1).toMap();
    if (position.isEmpty())
        return;
    const double whole =
        utils::roundToHundredths(position[u"price"_s].toDouble() * position[u"quantity"_s].toDouble());
    if (!(discount >= 0) || discount > whole)
        return say(Notice::Kind::Bad, u"Скидка — от 0 до %1"_s.arg(screen::amount(whole)));
    position[u"discount"_s] = utils::roundToHundredths(discount);
    list[posnum - 1] = position;
    replacePositions(list);
}

void Desk::remove(int posnum)
{
    QVariantList list = positions();
    if (posnum < 1 || posnum > list.size())
        return;
    list.removeAt(posnum - 1);
    replacePositions(list);
}

} // namespace till::window
