#include "till/window/panels/goodskeys.h"

#include "till/checkout/screen.h"
#include "till/window/style.h"
#include "till/window/widgets.h"

#include <QGridLayout>

using namespace Qt::StringLiterals;

namespace till::window {

namespace {

constexpr int columns = 4;
constexpr int spacing = 8;

} // namespace

GoodsKeys::GoodsKeys(const Catalogue& catalogue, const std::function<void(const Goods&)>& chosen)
{
    auto* grid = new QGridLayout(this);
    grid->setContentsMargins(0, 0, 0, 0);
    grid->setSpacing(spacing);
    for (int column = 0; column < columns; ++column)
        grid->setColumnStretch(column, 1);
    for (const Goods& goods : catalogue.goods()) {
        const int place = goods.place - 1;
        if (place < 0 || (isCompact() && place >= columns))
            continue;
        auto* key = button(u"\n"_s, {}, u"goods"_s);
        key->setAccessibleName(u"%1, %2"_s.arg(goods.name, money(goods.price)));
        key->setFocusPolicy(Qt::NoFocus); // for fingers; the keyboard has the article
        key->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Fixed);
        connect(key, &QPushButton::clicked, this, [chosen, &goods] { chosen(goods); });
        grid->addWidget(key, place / columns, place % columns);
        m_keys.append({key, &goods});
    }
}

void GoodsKeys::resizeEvent(QResizeEvent* event)
{
    QWidget::resizeEvent(event);
    constexpr int frame = 14; // of a key: its border and padding, and a hair
    const int room = (width() - (columns - 1) * spacing) / columns - frame;
    for (const auto& [key, goods] : m_keys) {
        QString name = key->fontMetrics().elidedText(goods->name, Qt::ElideRight, room);
        QString price = screen::amount(goods->price);
        if (key->fontMetrics().horizontalAdvance(price) > room)
            price = u"…"_s; // a part of it would be another price
        key->setText(name.replace(u'&', u"&&"_s) + u'\n' + price);
    }
}

} // namespace till::window
