#include "till/window/checkoutmodel.h"

#include "host/utils/money.h"
#include "host/utils/quantity.h"
#include "host/utils/tr.h"
#include "till/checkout/screen.h"
#include "till/window/widgets.h"

#include <algorithm>

using namespace Qt::StringLiterals;

/// The goods' side of the model.
namespace till::window {

namespace {

double costOf(const Line& line) { return utils::roundToHundredths(line.price * line.quantity); }

} // namespace

void CheckoutModel::replaceLines(const QList<Line>& lines)
{
    if (!done([&] { return checkout().setLines(lines); }))
        return;
    m_serviceLimit.reset(); // it was for another receipt
    say(Notice::Kind::Plain, tr::shown(u"windowGoodsCount"_s, u"Товаров в чеке: %1"_s).arg(lines.size()));
    Q_EMIT changed();
}

void CheckoutModel::changeLine(int posnum, const std::function<QString(Line&)>& change)
{
    QList<Line> lines = linesOf(*receipt());
    if (posnum < 1 || posnum > lines.size())
        return;
    const QString objection = change(lines[posnum - 1]);
    if (!objection.isEmpty())
        return say(Notice::Kind::Bad, objection);
    replaceLines(lines);
}

void CheckoutModel::addGoods(const Goods& goods, double quantity)
{
    if (state() == State::Idle)
        openSale();
    if (const QString obstacle = checkout().obstacleTo(Action::SetLines); !obstacle.isEmpty())
        return say(Notice::Kind::Bad, obstacle);
    QList<Line> lines = linesOf(*receipt());
    const auto isSame = [&goods](const Line& line) { return line.articul == goods.articul; };
    const auto same = isWeighed(goods) ? lines.end() : std::find_if(lines.begin(), lines.end(), isSame);
    if (same != lines.end())
        same->quantity += quantity;
    else
        lines.append(
            {.articul = goods.articul, .name = goods.name, .price = goods.price, .quantity = quantity});
    replaceLines(lines);
}

bool CheckoutModel::addArticle(const QString& articul)
{
    const Sought sought = m_catalogue.lookUp(articul.trimmed());
    if (sought.goods)
        addGoods(*sought.goods, sought.quantity);
    else if (!sought.refusal.isEmpty())
        say(Notice::Kind::Bad, sought.refusal);
    else
        say(Notice::Kind::Bad, tr::shown(u"windowArticleUnknown"_s,
                                         u"Товара «%1» нет: введите другой артикул или часть названия"_s)
                                   .arg(shortened(articul, 40)));
    return sought.goods != nullptr;
}

void CheckoutModel::setQuantity(int posnum, double quantity)
{
    constexpr double most = 9999; // what is more was meant for another field
    changeLine(posnum, [quantity](Line& line) {
        if (!utils::toThousandths(quantity) || quantity > most)
            return tr::shown(u"windowQuantityRule"_s, u"Количество — от 0,001 до 9999, не мельче тысячных"_s);
        line.quantity = quantity;
        return line.discount > costOf(line)
                   ? tr::shown(u"windowDiscountTooBig"_s, u"Скидка больше суммы: сначала уменьшите скидку"_s)
                   : QString();
    });
}

void CheckoutModel::setDiscount(int posnum, double discount)
{
    changeLine(posnum, [discount](Line& line) {
        if (!(discount >= 0) || discount > costOf(line))
            return tr::shown(u"windowDiscountRule"_s, u"Скидка — от 0 до %1"_s)
                .arg(screen::amount(costOf(line)));
        line.discount = utils::roundToHundredths(discount);
        return QString();
    });
}

void CheckoutModel::remove(int posnum)
{
    QList<Line> lines = linesOf(*receipt());
    if (posnum < 1 || posnum > lines.size())
        return;
    lines.removeAt(posnum - 1);
    replaceLines(lines);
}

} // namespace till::window
