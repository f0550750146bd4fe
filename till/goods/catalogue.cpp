#include "till/goods/catalogue.h"

#include "host/utils/quantity.h"
#include "host/utils/tr.h"
#include "till/goods/weightcode.h"

#include <QRegularExpression>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace till {

namespace {

/// Of a marking code: 01, the barcode filled up with zeros, 21, the number of the one piece. Scanners put a
/// group separator before it, or not.
QString barcodeIn(const QString& code)
{
    static const QRegularExpression filled(uR"(^\x1D?01(\d{14})21)"_s);
    static const QRegularExpression zeros(u"^0+"_s);
    return filled.match(code).captured(1).remove(zeros);
}

/// As names are searched.
QString plain(const QString& text) { return text.toCaseFolded().replace(u'ё', u'е'); }

} // namespace

Catalogue::Catalogue(QList<Goods> goods, const QStringList& weightPrefixes)
    : m_goods(std::move(goods))
    , m_weightPrefixes(weightPrefixes)
{
    m_names.reserve(m_goods.size());
    m_byCode.reserve(2 * m_goods.size());
    for (qsizetype i = 0; i < m_goods.size(); ++i) {
        const Goods& one = m_goods[i];
        m_names.append(plain(one.name));
        m_byCode.insert(one.articul, i);
        for (const QString& barcode : one.barcodes)
            m_byCode.insert(barcode, i);
    }
}

const Goods* Catalogue::find(const QString& code) const
{
    auto found = m_byCode.find(code);
    if (found == m_byCode.end())
        found = m_byCode.find(barcodeIn(code));
    return found == m_byCode.end() ? nullptr : &m_goods[*found];
}

bool Catalogue::isWeightCode(const QString& code) const
{
    return weightCodeOf(code) && m_weightPrefixes.contains(code.first(weightPrefixLength));
}

Sought Catalogue::lookUp(const QString& code) const
{
    if (const Goods* known = find(code))
        return {.goods = known};
    if (!isWeightCode(code))
        return {};
    const auto refused = [](const QString& why) { return Sought{.refusal = why}; };
    const WeightCode weighed = *weightCodeOf(code);
    if (!weighed.isGenuine)
        return refused(
            tr::shown(u"tillWeightMisread"_s,
                      u"Код весов прочитан с ошибкой: отсканируйте ещё раз или взвесьте заново"_s));
    const Goods* goods = find(weighed.articul);
    if (!goods)
        goods = find(QString::number(weighed.articul.toInt()));
    if (!goods)
        return refused(
            tr::shown(u"tillWeightUnknown"_s, u"Код весов: артикула %1 нет"_s).arg(weighed.articul));
    if (!isWeighed(*goods))
        return refused(
            tr::shown(u"tillWeightNotWeighed"_s, u"Код весов: %1 продаётся не на вес"_s).arg(goods->name));
    if (weighed.grams == 0)
        return refused(
            tr::shown(u"tillWeightNone"_s, u"Код весов: %1 без веса, взвесьте заново"_s).arg(goods->name));
    return {.goods = goods, .quantity = utils::inUnits(weighed.grams)};
}

QList<const Goods*> Catalogue::search(const QString& text, qsizetype most) const
{
    static const QRegularExpression blanks(u"\\s+"_s);
    const QStringList words = plain(text).split(blanks, Qt::SkipEmptyParts);
    QList<const Goods*> found;
    if (words.isEmpty())
        return found;
    for (qsizetype i = 0; i < m_goods.size() && found.size() < most; ++i) {
        const auto isIn = [&name = m_names[i]](const QString& word) { return name.contains(word); };
        if (std::all_of(words.begin(), words.end(), isIn))
            found.append(&m_goods[i]);
    }
    return found;
}

} // namespace till
