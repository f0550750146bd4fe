#include "till/window/waiting.h"

#include <QCoreApplication>
#include <QEvent>
#include <QKeyEvent>

namespace till::window {

namespace {

bool isModifier(const QKeyEvent& event)
{
    switch (event.key()) {
    case Qt::Key_Shift:
    case Qt::Key_Control:
    case Qt::Key_Alt:
    case Qt::Key_AltGr:
    case Qt::Key_Meta:
        return true;
    default:
        return false;
    }
}

} // namespace

Waiting::Waiting()
    : m_idle([this] { work(); })
{
    QCoreApplication::instance()->installEventFilter(this);
}

Waiting::~Waiting() = default;

Waiting::Step::Step(Waiting& waiting)
    : m_waiting(waiting)
{
    if (m_waiting.m_depth++ > 0)
        return;
    m_waiting.m_cancelled = false;
    Q_EMIT m_waiting.changed();
}

Waiting::Step::~Step()
{
    if (m_waiting.m_depth == 1)
        m_waiting.drain();
    if (--m_waiting.m_depth == 0)
        Q_EMIT m_waiting.changed();
}

Waiting::Pause::Pause(Waiting& waiting, bool asksCustomer)
    : m_waiting(waiting)
    , m_asksCustomer(asksCustomer)
{
    m_waiting.drain();
    ++m_waiting.m_pauses;
    m_waiting.m_customerPauses += asksCustomer ? 1 : 0;
    Q_EMIT m_waiting.changed();
}

Waiting::Pause::~Pause()
{
    --m_waiting.m_pauses;
    m_waiting.m_customerPauses -= m_asksCustomer ? 1 : 0;
    Q_EMIT m_waiting.changed();
}

void Waiting::work()
{
    if (active())
        QCoreApplication::processEvents();
}

void Waiting::drain()
{
    if (active())
        QCoreApplication::processEvents();
}

bool Waiting::eventFilter(QObject* watched, QEvent* event)
{
    if (!active())
        return QObject::eventFilter(watched, event);
    switch (event->type()) {
    case QEvent::KeyPress:
        if (!isModifier(*static_cast<QKeyEvent*>(event)))
            Q_EMIT pressIgnored();
        return true;
    case QEvent::MouseButtonPress:
    case QEvent::TouchBegin:
    case QEvent::Shortcut:
        Q_EMIT pressIgnored();
        return true;
    case QEvent::KeyRelease:
    case QEvent::ShortcutOverride:
    case QEvent::MouseButtonRelease:
    case QEvent::MouseButtonDblClick:
    case QEvent::TouchUpdate:
    case QEvent::TouchEnd:
    case QEvent::Wheel:
    case QEvent::InputMethod:
        return true;
    default:
        return QObject::eventFilter(watched, event);
    }
}

} // namespace till::window
