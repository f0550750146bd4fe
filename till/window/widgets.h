#pragma once

#include "till/window/sound.h"

#include <QFrame>
#include <QKeySequence>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QTableWidget>

namespace till::window {

/// Text as it is: never taken for HTML, and with what a screen must not get replaced, because names and
/// reasons come from the service. One that wraps asks for no width: no word in it widens the window.
class Label : public QLabel
{
public:
    Label() { setTextFormat(Qt::PlainText); }
    void setText(const QString& text);
    [[nodiscard]] QSize minimumSizeHint() const override;
};

/// A sum, whose letters get smaller when there is no room for all of it: it widens nothing, and no part of it
/// is cut, which would be another sum.
class SumLabel : public Label
{
public:
    [[nodiscard]] QSize minimumSizeHint() const override;
    /// The font that it is written in now.
    [[nodiscard]] QFont fittingFont() const;

protected:
    void paintEvent(QPaintEvent* event) override;
};

/// The line in one or two lines of that width; what is too much is an ellipsis.
QString inTwoLines(const QString& line, const QFont& font, int width);

/// The text with an ellipsis in its middle when it is longer than `most` characters.
QString shortened(const QString& text, qsizetype most);

/// Lets the field take so many characters and no more; `refuse` is told when there were.
void limitLength(QLineEdit& field, int most, const std::function<void(const QString&)>& refuse);

/// A label in that role of the style sheet.
Label* label(const QString& text, const QString& role = {});

/// A button that shows its key; `role` as in the style sheet. The key itself is bound by whoever owns it.
QPushButton* button(const QString& text, const QString& key = {}, const QString& role = {});

/// The key presses the button at once, wherever the focus is in the owner's window; held down, it does so
/// once. (A button's own shortcut takes its time, and the next key would find things as they were.) `refuse`
/// says why the button cannot be pressed now.
void bind(QWidget* owner, const QKeySequence& key, QPushButton* target,
          const std::function<void()>& refuse = soundRefusal);

/// Puts the cursor into the field, with its text chosen: what is typed takes its place.
void enter(QLineEdit& field);

/// Names the button anew; its key stays shown.
void setText(QPushButton& button, const QString& text, const QString& key);

/// Lets a table show goods, a row each, one of which is chosen: the first column holds names, the others
/// numbers.
void showGoods(QTableWidget& table, const QStringList& headings);

/// Lets `fill` set cells of rows that are there, and has them measured once: a table does so after each cell.
void fillAtOnce(QTableWidget& table, const std::function<void()>& fill);

/// A white sheet with a thin edge.
QFrame* panel();

/// Gives the widget another property of the style sheet, and its look.
void restyle(QWidget& widget, const char* property, const QVariant& value);

/// The amount or number that a cashier typed, with comma or point; below 0 when it is none.
double typedNumber(const QString& text);

/// "1 234,50 ₽"
QString money(double value);

} // namespace till::window
