#include "till/window/panels/positionstable.h"

#include "host/utils/money.h"
#include "host/utils/printable.h"
#include "host/utils/tr.h"
#include "till/checkout/screen.h"
#include "till/window/style.h"
#include "till/window/widgets.h"

using namespace Qt::StringLiterals;

namespace till::window {

namespace {

enum Column { Name, Price, Quantity, Discount, Bonus, Sum };

QTableWidgetItem* cell(const QString& text, bool isNumber)
{
    auto* item = new QTableWidgetItem(utils::printableLines(text));
    item->setTextAlignment((isNumber ? Qt::AlignRight : Qt::AlignLeft) | Qt::AlignVCenter);
    return item;
}

QString reduction(double value)
{
    return utils::toHundredths(value) == 0 ? u"—"_s : u"−"_s + screen::amount(value);
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
    setColumnHidden(Price, isCompact()); // it stands below the name then
}

int PositionsTable::selected() const
{
    const auto* chosen = item(currentRow(), Name);
    return chosen ? chosen->data(Qt::UserRole).toInt() : 0;
}

void PositionsTable::fill(const Document& receipt)
{
    const int before = currentRow();
    const int shown = rowCount();
    const auto items = receipt.getGoodsItems();
    setRowCount(static_cast<int>(items.size()));
    fillAtOnce(*this, [&] {
        int row = 0;
        for (const auto& item : items) {
            const double bonus = item->getBonusImpactSum();
            QString text = u"%1. %2\n"_s.arg(QString::number(item->getPosnum()), item->getName(false));
            text += isCompact() ? screen::amount(item->getPrice()) + u" · "_s + item->getArticul()
                                : tr::shown(u"windowArticle"_s, u"арт. %1"_s).arg(item->getArticul());
            auto* name = cell(text, false);
            name->setData(Qt::UserRole, item->getPosnum());
            setItem(row, Name, name);
            setItem(row, Price, cell(screen::amount(item->getPrice()), true));
            setItem(row, Quantity, cell(screen::quantity(item->getBquant()), true));
            setItem(row, Discount, cell(reduction(item->getDiscountSum() - bonus), true));
            setItem(row, Bonus, cell(reduction(bonus), true));
            setItem(row, Sum, cell(screen::amount(item->getSumb()), true));
            ++row;
        }
    });
    const int last = static_cast<int>(items.size()) - 1;
    setCurrentCell(items.size() > shown ? last : std::clamp(before, std::min(0, last), last), Name);
}

} // namespace till::window
