#include "till/window/panels/positionstable.h"

#include "host/utils/money.h"
#include "host/utils/printable.h"
#include "host/utils/tr.h"
#include "till/checkout/screen.h"
#include "till/window/namedelegate.h"
#include "till/window/style.h"
#include "till/window/widgets.h"

#include <QHeaderView>
#include <QResizeEvent>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace till::window {

namespace {

enum Column { Name, Price, Quantity, Discount, Bonus, Sum };
constexpr int leastName = 150; // at the usual size
constexpr int cellMargins = 16;

QTableWidgetItem* cell(const QString& text, bool isNumber)
{
    auto* item = new QTableWidgetItem(utils::printableLines(text));
    item->setTextAlignment((isNumber ? Qt::AlignRight : Qt::AlignLeft) | Qt::AlignVCenter);
    return item;
}

const QString nothing = u"—"_s;

QString reduction(double value)
{
    return utils::toHundredths(value) == 0 ? nothing : u"−"_s + screen::amount(value);
}

/// By column; that of the name is empty.
QStringList numbersOf(const GoodsItem& item)
{
    const double bonus = item.getBonusImpactSum();
    return {QString(),
            screen::amount(item.getPrice()),
            screen::quantity(item.getBquant()),
            reduction(item.getDiscountSum() - bonus),
            reduction(bonus),
            screen::amount(item.getSumb())};
}

} // namespace

PositionsTable::PositionsTable()
{
    showGoods(*this,
              {tr::shown(u"windowColumnGoods"_s, u"Товар"_s), tr::shown(u"windowColumnPrice"_s, u"Цена"_s),
               tr::shown(u"windowColumnQuantity"_s, u"Кол-во"_s), tr::shown(u"windowDiscount"_s, u"Скидка"_s),
               tr::shown(u"windowPointsHint"_s, u"Баллы"_s), tr::shown(u"windowSum"_s, u"Сумма"_s)});
    setAccessibleName(tr::shown(u"windowPositions"_s, u"Товары в чеке"_s));
    setWordWrap(true);
}

// A number that is cut is another number, and the names need room too.
void PositionsTable::makeRoom()
{
    QList<int> widths(columnCount());
    for (int column = Price; column <= Sum; ++column) {
        const QString heading = horizontalHeaderItem(column)->text();
        widths[column] = horizontalHeader()->fontMetrics().horizontalAdvance(heading);
    }
    for (const auto& item : m_receipt->getGoodsItems()) {
        const QStringList texts = numbersOf(*item);
        for (int column = Price; column <= Sum; ++column)
            widths[column] = std::max(widths[column], fontMetrics().horizontalAdvance(texts[column]));
    }
    int room = viewport()->width() - scaled(leastName);
    for (int column = Price; column <= Sum; ++column)
        room -= widths[column] + cellMargins;
    const auto give = [&](Column column, bool isNeeded) {
        const bool gives = isNeeded || room < 0;
        setColumnHidden(column, gives);
        if (gives)
            room += widths[column] + cellMargins;
    };
    give(Price, isCompact());
    give(Discount, false);
    give(Bonus, false);
}

QString PositionsTable::belowName(const GoodsItem& item) const
{
    const QStringList numbers = numbersOf(item);
    QString text = isColumnHidden(Price) ? numbers[Price] + partsBelowName + item.getArticul()
                                         : tr::shown(u"windowArticle"_s, u"арт. %1"_s).arg(item.getArticul());
    for (const Column column : {Discount, Bonus}) {
        if (isColumnHidden(column) && numbers[column] != nothing)
            text.prepend(horizontalHeaderItem(column)->text() + u' ' + numbers[column] + partsBelowName);
    }
    return text;
}

void PositionsTable::resizeEvent(QResizeEvent* event)
{
    QTableWidget::resizeEvent(event);
    if (m_receipt && event->size().width() != event->oldSize().width())
        fill(m_receipt);
}

int PositionsTable::selected() const
{
    const auto* chosen = item(currentRow(), Name);
    return chosen ? chosen->data(Qt::UserRole).toInt() : 0;
}

void PositionsTable::fill(const QSharedPointer<Document>& receipt)
{
    m_receipt = receipt;
    if (!receipt)
        return setRowCount(0);
    makeRoom();
    const int before = currentRow();
    const int shown = rowCount();
    const auto items = receipt->getGoodsItems();
    setRowCount(static_cast<int>(items.size()));
    fillAtOnce(*this, [&] {
        int row = 0;
        for (const auto& item : items) {
            const QStringList numbers = numbersOf(*item);
            auto* name = cell(u"%1. %2\n"_s.arg(QString::number(item->getPosnum()), item->getName(false)) +
                                  belowName(*item),
                              false);
            name->setData(Qt::UserRole, item->getPosnum());
            setItem(row, Name, name);
            for (int column = Price; column <= Sum; ++column)
                setItem(row, column, cell(numbers[column], true));
            ++row;
        }
    });
    const int last = static_cast<int>(items.size()) - 1;
    setCurrentCell(items.size() > shown ? last : std::clamp(before, std::min(0, last), last), Name);
}

} // namespace till::window
