#include "till/window/widgets.h"

#include "host/utils/printable.h"
#include "host/utils/tr.h"
#include "till/checkout/screen.h"
#include "till/window/namedelegate.h"
#include "till/window/style.h"

#include <QHeaderView>
#include <QPainter>
#include <QRegularExpression>
#include <QShortcut>
#include <QSignalBlocker>
#include <QStyle>
#include <QTextLayout>
#include <QVariant>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace till::window {

namespace {

/// With places where a line may end in a word that no line of the window has room for.
QString breakable(const QString& text)
{
    static const QRegularExpression stretch(u"(\\S{60})(?=\\S)"_s);
    return QString(text).replace(stretch, u"\\1\u200B"_s);
}

} // namespace

void Label::setText(const QString& text) { QLabel::setText(breakable(utils::printableLines(text))); }

QSize Label::minimumSizeHint() const
{
    const QSize size = QLabel::minimumSizeHint();
    return wordWrap() ? QSize(0, size.height()) : size;
}

QSize SumLabel::minimumSizeHint() const { return {0, Label::minimumSizeHint().height()}; }

QFont SumLabel::fittingFont() const
{
    QFont fitting = font();
    const int room = contentsRect().width();
    const int wanted = fontMetrics().horizontalAdvance(text());
    if (wanted > room)
        fitting.setPixelSize(std::max(1, fitting.pixelSize() * room / wanted));
    return fitting;
}

void SumLabel::paintEvent(QPaintEvent* /*event*/)
{
    QPainter painter(this);
    painter.setFont(fittingFont());
    style()->drawItemText(&painter, contentsRect(), static_cast<int>(alignment()), palette(), isEnabled(),
                          text(), foregroundRole());
}

QString inTwoLines(const QString& line, const QFont& font, int width)
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

QString shortened(const QString& text, qsizetype most)
{
    if (text.size() <= most)
        return text;
    const qsizetype end = (most - 1) / 3;
    return text.first(most - 1 - end) + u'…' + text.last(end);
}

void limitLength(QLineEdit& field, int most, const std::function<void(const QString&)>& refuse)
{
    field.setMaxLength(most);
    QObject::connect(&field, &QLineEdit::inputRejected, &field, [most, refuse] {
        refuse(tr::shown(u"windowTooLong"_s, u"Не всё принято: здесь не больше %1 знаков"_s).arg(most));
    });
}

Label* label(const QString& text, const QString& role)
{
    auto* made = new Label;
    made->setText(text);
    if (!role.isEmpty())
        made->setProperty("role", role);
    return made;
}

QPushButton* button(const QString& text, const QString& key, const QString& role)
{
    auto* made = new QPushButton;
    if (!role.isEmpty())
        made->setProperty("role", role);
    made->setAutoDefault(false);
    made->setFocusPolicy(Qt::TabFocus); // a finger leaves the keys to the field that has them
    setText(*made, text, key);
    return made;
}

void bind(QWidget* owner, const QKeySequence& key, QPushButton* target, const std::function<void()>& refuse)
{
    auto* shortcut = new QShortcut(key, owner);
    shortcut->setAutoRepeat(false);
    QObject::connect(shortcut, &QShortcut::activated, target, [target, refuse] {
        if (target->isEnabled())
            target->click();
        else if (refuse)
            refuse();
    });
}

void enter(QLineEdit& field)
{
    field.setFocus(Qt::ShortcutFocusReason);
    field.selectAll();
}

void setText(QPushButton& button, const QString& text, const QString& key)
{
    button.setText(key.isEmpty() ? text : text + u"  "_s + key);
    button.setAccessibleName(text);
    button.setAccessibleDescription(key.isEmpty() ? QString()
                                                  : tr::shown(u"windowKey"_s, u"Клавиша %1"_s).arg(key));
}

void showGoods(QTableWidget& table, const QStringList& headings)
{
    table.setColumnCount(static_cast<int>(headings.size()));
    table.setHorizontalHeaderLabels(headings);
    table.setEditTriggers(QAbstractItemView::NoEditTriggers);
    table.setSelectionBehavior(QAbstractItemView::SelectRows);
    table.setSelectionMode(QAbstractItemView::SingleSelection);
    table.setShowGrid(false);
    table.setTabKeyNavigation(false);
    for (int column = 0; column < table.columnCount(); ++column)
        table.horizontalHeaderItem(column)->setTextAlignment((column == 0 ? Qt::AlignLeft : Qt::AlignRight) |
                                                             Qt::AlignVCenter);
    table.verticalHeader()->hide();
    table.verticalHeader()->setSectionResizeMode(QHeaderView::ResizeToContents);
    table.verticalHeader()->setMinimumSectionSize(leastTarget);
    table.horizontalHeader()->setSectionResizeMode(QHeaderView::ResizeToContents);
    table.horizontalHeader()->setSectionResizeMode(0, QHeaderView::Stretch);
    table.horizontalHeader()->setHighlightSections(false);
    table.setItemDelegateForColumn(0, new NameDelegate(&table));
}

void fillAtOnce(QTableWidget& table, const std::function<void()>& fill)
{
    auto& model = *table.model();
    {
        const QSignalBlocker quiet(&model);
        fill();
    }
    if (table.rowCount() > 0)
        Q_EMIT model.dataChanged(model.index(0, 0),
                                 model.index(table.rowCount() - 1, table.columnCount() - 1));
}

QFrame* panel()
{
    auto* made = new QFrame;
    made->setProperty("panel", true);
    return made;
}

void restyle(QWidget& widget, const char* property, const QVariant& value)
{
    if (widget.property(property) == value)
        return;
    widget.setProperty(property, value);
    widget.style()->unpolish(&widget);
    widget.style()->polish(&widget);
}

double typedNumber(const QString& text)
{
    QString plain = text;
    plain.remove(u' ').replace(u',', u'.');
    bool isNumber = false;
    const double value = plain.toDouble(&isNumber);
    return isNumber ? value : -1;
}

QString money(double value) { return screen::amount(value) + u" ₽"_s; }

} // namespace till::window
