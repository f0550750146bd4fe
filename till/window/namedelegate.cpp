#include "till/window/namedelegate.h"

#include "till/window/widgets.h"

#include <QStyle>
#include <QWidget>

namespace till::window {

void NameDelegate::initStyleOption(QStyleOptionViewItem* option, const QModelIndex& index) const
{
    QStyledItemDelegate::initStyleOption(option, index);
    const QStyle& style = *option->widget->style();
    const int margin = style.pixelMetric(QStyle::PM_FocusFrameHMargin, option, option->widget) + 1;
    const QRect place = style.subElementRect(QStyle::SE_ItemViewItemText, option, option->widget);
    const int width = place.width() - 2 * margin;
    QStringList lines =
        option->text.split(QChar(QChar::LineSeparator)); // as the base class writes line feeds
    lines.first() = inTwoLines(lines.first(), option->font, width);
    for (qsizetype below = 1; below < lines.size(); ++below)
        lines[below] = option->fontMetrics.elidedText(lines[below], Qt::ElideRight, width);
    option->text = lines.join(u'\n').replace(u'\n', QChar(QChar::LineSeparator));
}

} // namespace till::window
