#include "till/window/widgets.h"

#include "host/utils/printable.h"
#include "till/checkout/screen.h"

#include <QShortcut>
#include <QStyle>
#include <QVariant>

using namespace Qt::StringLiterals;

namespace till::window {

void Label::setText(const QString& text) { QLabel::setText(utils::printableLines(text)); }

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

void setText(QPushButton& button, const QString& text, const QString& key)
{
    button.setText(key.isEmpty() ? text : text + u"  "_s + key);
    button.setAccessibleName(text);
    button.setAccessibleDescription(key.isEmpty() ? QString() : u"Клавиша %1"_s.arg(key));
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
