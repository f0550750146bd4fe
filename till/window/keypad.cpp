#include "till/window/keypad.h"

#include "host/utils/tr.h"
#include "till/window/widgets.h"

#include <QCoreApplication>
#include <QKeyEvent>

using namespace Qt::StringLiterals;

namespace till::window {

namespace {

constexpr int columns = 3;

/// A key of the pad: the field keeps the focus, and Tab goes past.
QPushButton* keyFor(const QString& text, const QString& name)
{
    auto* made = button(text, {}, u"digit"_s);
    made->setFocusPolicy(Qt::NoFocus);
    made->setAccessibleName(name);
    return made;
}

} // namespace

Keypad::Keypad(QLineEdit& field, QChar mark, QWidget* parent)
    : QFrame(parent)
    , m_field(field)
    , m_grid(new QGridLayout(this))
{
    m_grid->setContentsMargins(0, 0, 0, 0);
    m_grid->setSpacing(8);
    for (int digit = 1; digit <= 9; ++digit) {
        const QString text = QString::number(digit);
        add(text, text, (digit - 1) / columns, (digit - 1) % columns, Qt::Key_0 + digit);
    }
    add(u"0"_s, u"0"_s, 3, 1, Qt::Key_0);
    if (!mark.isNull())
        add(mark, mark, 3, 0, mark.unicode());
    add(u"⌫"_s, tr::shown(u"windowKeyErase"_s, u"Стереть"_s), 3, 2, Qt::Key_Backspace);
}

void Keypad::add(const QString& text, const QString& name, int row, int column, int key)
{
    auto* made = keyFor(text, name);
    const QString typed = key == Qt::Key_Backspace ? QString() : text;
    connect(made, &QPushButton::clicked, this, [this, key, typed] { press(key, typed); });
    m_grid->addWidget(made, row, column);
}

// To the field itself: what comes through the window is looked at as if it came from a scanner.
void Keypad::press(int key, const QString& text)
{
    for (const auto type : {QEvent::KeyPress, QEvent::KeyRelease}) {
        QKeyEvent event(type, key, Qt::NoModifier, text);
        QCoreApplication::sendEvent(&m_field, &event);
    }
}

PopupKeypad::PopupKeypad(QLineEdit& field, QChar mark, QWidget& area)
    : Keypad(field, mark, area.window())
    , m_opener(field)
    , m_area(area)
{
    setProperty("panel", true);
    setAttribute(Qt::WA_StyledBackground);
    grid().setContentsMargins(8, 8, 8, 8);
    auto* enter = keyFor(u"⏎"_s, tr::shown(u"windowKeyEnter"_s, u"Ввод"_s));
    auto* away = keyFor(u"✕"_s, tr::shown(u"windowKeypadClose"_s, u"Убрать клавиши"_s));
    enter->setSizePolicy(QSizePolicy::Minimum, QSizePolicy::Expanding);
    connect(enter, &QPushButton::clicked, this, [this] { press(Qt::Key_Return, u"\r"_s); });
    connect(away, &QPushButton::clicked, this, &QWidget::hide);
    grid().addWidget(away, 0, columns);
    grid().addWidget(enter, 1, columns, 3, 1);
    hide();
    field.installEventFilter(this);
}

bool PopupKeypad::eventFilter(QObject* watched, QEvent* event)
{
    switch (event->type()) {
    case QEvent::MouseButtonRelease:
        open();
        break;
    case QEvent::FocusOut:
    case QEvent::Hide:
        hide();
        break;
    case QEvent::KeyPress:
        if (isVisible() && static_cast<QKeyEvent*>(event)->key() == Qt::Key_Escape) {
            hide();
            return true;
        }
        break;
    default:
        break;
    }
    return Keypad::eventFilter(watched, event);
}

void PopupKeypad::open()
{
    if (!m_opener.isEnabled())
        return;
    adjustSize();
    const QPoint corner = m_area.mapTo(parentWidget(), m_area.rect().bottomRight() + QPoint(1, 1));
    move(corner - QPoint(width(), height()));
    raise();
    show();
}

} // namespace till::window
