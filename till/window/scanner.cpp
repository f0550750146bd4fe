#include "till/window/scanner.h"

#include <QCoreApplication>
#include <QGuiApplication>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace till::window {

namespace {

/// Milliseconds from one key to the next. Scanners take 1 to 20, slow ones over radio up to 30; a fast typist
/// needs 60 and more on the average, and two keys hit at once are not three and Enter.
constexpr quint64 pace = 35;
constexpr qsizetype shortestScan = 3;
/// How long keys are held for the next one: the pace, and what the window system takes to bring it. Nobody
/// sees a character come that much later.
constexpr auto patience = 60ms;
constexpr QChar groupSeparator(0x1D); // ends a part of a marking code; scanners type it as Ctrl+]

bool isModifier(int key)
{
    return key == Qt::Key_Shift || key == Qt::Key_Control || key == Qt::Key_Alt || key == Qt::Key_AltGr ||
           key == Qt::Key_Meta || key == Qt::Key_CapsLock;
}

bool isEnter(int key) { return key == Qt::Key_Return || key == Qt::Key_Enter; }

} // namespace

Scanner::Scanner(const Waiting& waiting, Marks marks, QObject* parent)
    : QObject(parent)
    , m_waiting(waiting)
    , m_marks(std::move(marks))
{
    m_timer.setSingleShot(true);
    connect(&m_timer, &QTimer::timeout, this, &Scanner::settle);
    QCoreApplication::instance()->installEventFilter(this);
}

// Only windows: from there a key goes on to the widget, past here once more.
bool Scanner::eventFilter(QObject* watched, QEvent* event)
{
    if (!watched->isWindowType() || event == m_released)
        return QObject::eventFilter(watched, event);
    switch (event->type()) {
    case QEvent::ShortcutOverride:
        if (!isCharacter(*static_cast<QKeyEvent*>(event)))
            break;
        event->accept(); // a character is no shortcut before it is known to be typed
        return true;
    case QEvent::KeyPress:
        return press(*static_cast<QKeyEvent*>(event));
    case QEvent::KeyRelease:
        if (m_held.empty() || !isCharacter(*static_cast<QKeyEvent*>(event)))
            break;
        m_held.emplace_back(static_cast<QKeyEvent*>(event->clone())); // behind its press
        return true;
    default:
        break;
    }
    return QObject::eventFilter(watched, event);
}

bool Scanner::press(const QKeyEvent& key)
{
    if (isModifier(key.key()))
        return false; // part of the next character
    if (isEnter(key.key()) && isFast(key) && isScan()) {
        take();
        return true;
    }
    if (!isCharacter(key)) {
        release();
        return false;
    }
    if (!isFast(key))
        release();
    hold(key);
    return true;
}

void Scanner::hold(const QKeyEvent& key)
{
    if (m_held.empty()) {
        m_late = m_waiting.active();
        m_window = QGuiApplication::focusWindow();
    }
    m_held.emplace_back(key.clone());
    m_text += key.text();
    m_last = key.timestamp();
    m_timer.start(patience);
}

void Scanner::settle()
{
    // Whoever was busy finds the timer run out and the next key waiting: that comes first.
    if (m_timer.intervalAsDuration() == patience)
        m_timer.start(0ms);
    else if (!m_marks.suffix.isEmpty() && m_text.endsWith(m_marks.suffix) && isScan())
        take();
    else
        release();
}

Scanner::Keys Scanner::letGo()
{
    m_timer.stop();
    m_text.clear();
    return std::exchange(m_held, {});
}

void Scanner::take()
{
    QString code = m_text;
    letGo();
    if (!m_marks.prefix.isEmpty() && code.startsWith(m_marks.prefix))
        code.remove(0, m_marks.prefix.size());
    if (!m_marks.suffix.isEmpty() && code.endsWith(m_marks.suffix))
        code.chop(m_marks.suffix.size());
    Q_EMIT scanned(code);
}

void Scanner::release()
{
    const Keys keys = letGo();
    if (keys.empty())
        return;
    if (m_late || !m_window || m_window != QGuiApplication::focusWindow()) {
        Q_EMIT typingIgnored();
        return;
    }
    for (const auto& key : keys) {
        if (!m_window)
            return;
        m_released = key.get();
        QCoreApplication::sendEvent(m_window, key.get());
    }
    m_released = nullptr;
}

bool Scanner::isCharacter(const QKeyEvent& key) const
{
    const QString text = key.text();
    if (text.size() != 1 || key.isAutoRepeat()) // no scanner holds a key down
        return false;
    if (text[0] == groupSeparator || (m_marks.prefix + m_marks.suffix).contains(text))
        return true;
    return text[0].isPrint() &&
           !(key.modifiers() & (Qt::ControlModifier | Qt::AltModifier | Qt::MetaModifier));
}

bool Scanner::isFast(const QKeyEvent& key) const
{
    return !m_held.empty() && key.timestamp() - m_last <= pace;
}

bool Scanner::isScan() const { return m_text.size() >= shortestScan; }

} // namespace till::window
