#include "host/core/goodsitem.h"

#include "host/utils/money.h"

namespace {
constexpr qsizetype paperWidth = 24; // letters of a name that a line of the receipt has room for
} // namespace

GoodsItem::GoodsItem(int posnum, const QString& articul, const QString& name, double price, double quantity)
    : m_posnum(posnum)
    , m_articul(articul)
    , m_name(name)
    , m_price(price)
    , m_quantity(quantity)
{}

GoodsItem::~GoodsItem() = default;

QString GoodsItem::getName(bool shortened) const { return shortened ? m_name.left(paperWidth) : m_name; }

double GoodsItem::getSumb() const { return utils::roundToHundredths(getGrossSum() - getDiscountSum()); }

double GoodsItem::getGrossSum() const
{
    return utils::roundToHundredths(m_grossSum.value_or(m_price * m_quantity));
}

double GoodsItem::getDiscountSum() const { return utils::roundToHundredths(m_discount + m_bonusImpactSum); }
