#include "till/window/namedelegate.h"

#include "till/window/widgets.h"

#include <QStyle>
#include <QWidget>

using namespace Qt::StringLiterals;

namespace till::window {

QStringList NameDelegate::fitted(const QString& text, const QFont& font, int width)
{
    const QFontMetrics metrics(font);
    const qsizetype end = text.indexOf(u'\n');
    QStringList lines = inTwoLines(text.first(end < 0 ? text.size() : end), font, width).split(u'\n');
    if (end < 0)
        return lines;
    QString line;
    for (const QString& part : text.sliced(end + 1).split(partsBelowName)) {
        const QString longer = line.isEmpty() ? part : line + partsBelowName + part;
        if (metrics.horizontalAdvance(longer) <= width) {
            line = longer;
            continue;
        }
        if (!line.isEmpty())
            lines.append(line);
        line = metrics.elidedText(part, Qt::ElideRight, width);
    }
    return lines << line;
}

void NameDelegate::initStyleOption(QStyleOptionViewItem* option, const QModelIndex& index) const
{
    QStyledItemDelegate::initStyleOption(option, index);
    const QStyle& style = *option->widget->style();
    const int margin = style.pixelMetric(QStyle::PM_FocusFrameHMargin, option, option->widget) + 1;
    const QRect place = style.subElementRect(QStyle::SE_ItemViewItemText, option, option->widget);
    // The base class writes line feeds as separators of lines.
    const QString text = QString(option->text).replace(QChar(QChar::LineSeparator), u'\n');
    option->text = fitted(text, option->font, place.width() - 2 * margin).join(QChar(QChar::LineSeparator));
}

} // namespace till::window
