#include "till/window/namedelegate.h"

#include <QStyle>
#include <QTextLayout>
#include <QWidget>

namespace till::window {

namespace {

/// The line in one or two lines of that width; what is too much is an ellipsis.
QString twoLines(const QString& line, const QFont& font, int width)
{
    const QFontMetrics metrics(font);
    if (metrics.horizontalAdvance(line) <= width)
        return line;
    QTextOption wrap;
    wrap.setWrapMode(QTextOption::WrapAtWordBoundaryOrAnywhere);
    QTextLayout layout(line, font);
    layout.setTextOption(wrap);
    layout.beginLayout();
    auto first = layout.createLine();
    first.setLineWidth(width);
    const int end = first.textLength();
    layout.endLayout();
    return line.first(end).trimmed() + u'\n' +
           metrics.elidedText(line.sliced(end).trimmed(), Qt::ElideRight, width);
}

} // namespace

void NameDelegate::initStyleOption(QStyleOptionViewItem* option, const QModelIndex& index) const
{
    QStyledItemDelegate::initStyleOption(option, index);
    const QStyle& style = *option->widget->style();
    const int margin = style.pixelMetric(QStyle::PM_FocusFrameHMargin, option, option->widget) + 1;
    const QRect place = style.subElementRect(QStyle::SE_ItemViewItemText, option, option->widget);
    const int width = place.width() - 2 * margin;
    QStringList lines =
        option->text.split(QChar(QChar::LineSeparator)); // as the base class writes line feeds
    lines.first() = twoLines(lines.first(), option->font, width);
    for (qsizetype below = 1; below < lines.size(); ++below)
        lines[below] = option->fontMetrics.elidedText(lines[below], Qt::ElideRight, width);
    option->text = lines.join(u'\n').replace(u'\n', QChar(QChar::LineSeparator));
}

} // namespace till::window
