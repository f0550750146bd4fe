#pragma once

#include "host/utils/export.h"

#include <QString>

#include <optional>

/// One position of a receipt. Sums are money, quantities in the article's unit.
class HOST_EXPORT GoodsItem
{
public:
    /// `posnum` numbers the positions of a receipt from 1; a return keeps its sale's numbers.
    GoodsItem(int posnum, const QString& articul, const QString& name, double price, double quantity);
    virtual ~GoodsItem();

    /// The position's number on the receipt.
    [[nodiscard]] virtual int getPosnum() const { return m_posnum; }
    /// The article's code in the shop.
    [[nodiscard]] virtual QString getArticul() const { return m_articul; }
    /// The article's name; with `shortened` cut to what the narrow receipt paper holds.
    [[nodiscard]] virtual QString getName(bool shortened) const;
    /// Price of one unit.
    [[nodiscard]] virtual double getPrice() const { return m_price; }
    /// How much is sold, in the article's unit.
    [[nodiscard]] virtual double getBquant() const { return m_quantity; }
    /// What the customer pays for the position: its gross sum less every discount, on hundredths.
    [[nodiscard]] virtual double getSumb() const;
    /// The bonus discount on the position, a positive sum; contained in getDiscountSum().
    [[nodiscard]] virtual double getBonusImpactSum() const { return m_bonusImpactSum; }
    /// All discounts on the position, the bonus discount included.
    [[nodiscard]] virtual double getDiscountSum() const;

    /// The discounts other than the bonus discount.
    void setDiscount(double sum) { m_discount = sum; }
    /// Money.
    [[nodiscard]] double getDiscount() const { return m_discount; }
    /// What of the bonus impacts falls on the position, money, not negative. Set by the host that applies
    /// them.
    void setBonusImpactSum(double sum) { m_bonusImpactSum = sum; }

    /// What the position costs before any discount: price × quantity on hundredths, or what was set.
    [[nodiscard]] double getGrossSum() const;
    /// Of a part of another position, such as a return's: what of that one's gross sum falls on it. Parts
    /// that each were price × quantity would not add up to the whole. Nothing: price × quantity.
    void setGrossSum(const std::optional<double>& sum) { m_grossSum = sum; }
    /// The gross sum that was set; nothing: price × quantity.
    [[nodiscard]] const std::optional<double>& ownGrossSum() const { return m_grossSum; }

private:
    int m_posnum;
    QString m_articul;
    QString m_name;
    double m_price;
    double m_quantity;
    std::optional<double> m_grossSum;
    double m_discount = 0;
    double m_bonusImpactSum = 0;
};
