#pragma once

#include "till/goods/goods.h"

#include <QHash>
#include <QList>

namespace till {

/// What a code that was scanned or typed sells.
struct Sought
{
    const Goods* goods = nullptr; ///< null: there is nothing of that code, or it is refused
    double quantity = 1;          ///< units, in whole thousandths
    QString refusal = {};         ///< why a code of scales is not taken, for the cashier; else empty
};

/// All that this till sells. Pointers to its goods are good for as long as it lives.
class Catalogue
{
public:
    /// No two goods have an article or barcode in common. A barcode that begins with one of `weightPrefixes`
    /// (two digits each) is one of scales.
    explicit Catalogue(QList<Goods> goods, const QStringList& weightPrefixes = {});

    [[nodiscard]] const QList<Goods>& goods() const { return m_goods; }
    /// The one that is called so by its article, by a barcode, or by a marking code, which begins with the
    /// barcode; null: there is none.
    [[nodiscard]] const Goods* find(const QString& code) const;
    /// Whether scales have printed it; it may be known as itself all the same.
    [[nodiscard]] bool isWeightCode(const QString& code) const;
    /// What find() knows; else what scales have weighed, whose article may be short of leading zeros.
    [[nodiscard]] Sought lookUp(const QString& code) const;
    /// Up to `most` goods whose names hold all words, or parts of words, of the text, in any order and case,
    /// "ё" being "е"; in the catalogue's order. Of an empty text nothing.
    [[nodiscard]] QList<const Goods*> search(const QString& text, qsizetype most) const;

private:
    QList<Goods> m_goods;
    QStringList m_names; ///< of each of the goods, as they are searched
    QHash<QString, qsizetype> m_byCode;
    QStringList m_weightPrefixes;
};

} // namespace till
