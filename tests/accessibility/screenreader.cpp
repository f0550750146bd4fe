#include "tests/accessibility/screenreader.h"

#include <QElapsedTimer>
#include <QThread>

#include <atspi/atspi.h>

#include <functional>
#include <stdexcept>

using namespace Qt::StringLiterals;

namespace reader {

namespace {

constexpr int patienceMs = 30'000;

bool comes(const std::function<bool()>& condition)
{
    QElapsedTimer clock;
    clock.start();
    while (!condition()) {
        if (clock.elapsed() > patienceMs)
            return false;
        QThread::msleep(50);
    }
    return true;
}

QString taken(char* text)
{
    const QString result = QString::fromUtf8(text);
    g_free(text);
    return result;
}

void collect(AtspiAccessible* item, QList<Item>& items)
{
    if (!item)
        return;
    AtspiStateSet* states = atspi_accessible_get_state_set(item);
    const auto is = [states](AtspiStateType state) { return atspi_state_set_contains(states, state) != 0; };
    if (is(ATSPI_STATE_SHOWING))
        items.append({.role = taken(atspi_accessible_get_role_name(item, nullptr)),
                      .name = taken(atspi_accessible_get_name(item, nullptr)),
                      .description = taken(atspi_accessible_get_description(item, nullptr)),
                      .focusable = is(ATSPI_STATE_FOCUSABLE),
                      .focused = is(ATSPI_STATE_FOCUSED)});
    g_object_unref(states);
    const int children = atspi_accessible_get_child_count(item, nullptr);
    for (int i = 0; i < children; ++i)
        collect(atspi_accessible_get_child_at_index(item, i, nullptr), items);
    g_object_unref(item);
}

} // namespace

Window::Window(const QStringList& options)
{
    auto environment = QProcessEnvironment::systemEnvironment();
    environment.insert(u"QT_QPA_PLATFORM"_s, u"xcb"_s);
    environment.insert(u"QT_LINUX_ACCESSIBILITY_ALWAYS_ON"_s, u"1"_s);
    m_till.setProcessEnvironment(environment);
    m_till.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    m_till.start(QStringLiteral(TILL_PROGRAM),
                 QStringList{u"window"_s, u"--data-dir"_s, m_folder.path()} + options);
    if (!m_till.waitForStarted() || !comes([this] { return items().size() > 20; }))
        throw std::runtime_error("no window comes up");
}

Window::~Window()
{
    m_till.terminate();
    m_till.waitForFinished();
}

QList<Item> Window::items() const
{
    QList<Item> items;
    AtspiAccessible* desktop = atspi_get_desktop(0);
    const int programs = atspi_accessible_get_child_count(desktop, nullptr);
    for (int i = 0; i < programs; ++i) {
        AtspiAccessible* program = atspi_accessible_get_child_at_index(desktop, i, nullptr);
        if (program && atspi_accessible_get_process_id(program, nullptr) == m_till.processId()) {
            atspi_accessible_clear_cache(program);
            collect(program, items);
        } else if (program) {
            g_object_unref(program);
        }
    }
    g_object_unref(desktop);
    return items;
}

bool Window::shows(const QString& beginning) const
{
    return comes([&] {
        const auto all = items();
        return std::any_of(all.begin(), all.end(),
                           [&](const Item& item) { return item.name.startsWith(beginning); });
    });
}

bool Window::hasFocus(const QString& name) const
{
    return comes([&] {
        const auto all = items();
        return std::any_of(all.begin(), all.end(),
                           [&](const Item& item) { return item.focused && item.name == name; });
    });
}

void Window::press(unsigned keysym)
{
    if (!atspi_generate_keyboard_event(keysym, nullptr, ATSPI_KEY_SYM, nullptr))
        throw std::runtime_error("no key can be pressed");
}

void Window::type(const QString& text)
{
    for (const QChar c : text) {
        press(c.unicode());
        QThread::msleep(60); // slower than any scanner
    }
}

} // namespace reader
