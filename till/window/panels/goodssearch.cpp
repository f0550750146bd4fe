#include "till/window/panels/goodssearch.h"

#include "host/utils/tr.h"
#include "till/window/widgets.h"

#include <QHeaderView>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace till::window {

namespace {

enum Column { Name, Price };
constexpr int mostFound = 50; // nobody looks further, but types on

bool isNumber(const QString& text)
{
    return std::all_of(text.begin(), text.end(), [](QChar c) { return c.isDigit(); });
}

QTableWidgetItem* priceCell(const Goods& goods)
{
    auto* cell =
        new QTableWidgetItem(money(goods.price) + (goods.unit.isEmpty() ? QString() : u" / "_s + goods.unit));
    cell->setTextAlignment(Qt::AlignRight | Qt::AlignVCenter);
    return cell;
}

} // namespace

GoodsSearch::GoodsSearch(const Catalogue& catalogue)
    : m_catalogue(catalogue)
{
    showGoods(*this, {QString(), QString()});
    horizontalHeader()->hide();
    setAccessibleName(tr::shown(u"windowGoodsFound"_s, u"Найденные товары"_s));
    setFocusPolicy(Qt::NoFocus);
    connect(this, &QTableWidget::cellClicked, this, [this](int row) {
        if (row < m_found.size())
            Q_EMIT touched(*m_found[row]);
    });
    hide();
}

void GoodsSearch::search(const QString& text)
{
    const QString code = text.trimmed();
    const bool isArticle = isNumber(code) || m_catalogue.find(code);
    m_found = isArticle ? QList<const Goods*>() : m_catalogue.search(text, mostFound + 1);
    const bool isCut = m_found.size() > mostFound;
    if (isCut)
        m_found.removeLast();
    clearContents();
    setRowCount(static_cast<int>(m_found.size()) + (isCut ? 1 : 0));
    fillAtOnce(*this, [&] { showFound(isCut); });
    setCurrentItem(nullptr);
    scrollToTop();
    setVisible(!m_found.isEmpty());
}

void GoodsSearch::showFound(bool isCut)
{
    int row = 0;
    for (const Goods* goods : m_found) {
        const QString article = tr::shown(u"windowArticle"_s, u"арт. %1"_s).arg(goods->articul);
        setItem(row, Name, new QTableWidgetItem(goods->name + u'\n' + article));
        setItem(row, Price, priceCell(*goods));
        ++row;
    }
    if (isCut) {
        auto* hint = new QTableWidgetItem(
            tr::shown(u"windowGoodsFoundMore"_s, u"Есть и другие: наберите больше букв"_s));
        hint->setFlags(Qt::NoItemFlags);
        setItem(row, Name, hint);
        setItem(row, Price, new QTableWidgetItem);
    }
}

const Goods* GoodsSearch::chosen() const
{
    if (currentRow() >= 0 && currentRow() < m_found.size())
        return m_found[currentRow()];
    return m_found.size() == 1 ? m_found.first() : nullptr;
}

} // namespace till::window
