#pragma once

#include "till/window/waiting.h"

#include <QKeyEvent>
#include <QObject>
#include <QPointer>
#include <QTimer>
#include <QWindow>

#include <memory>
#include <vector>

namespace till::window {

/// Tells a scanner, which types, from the cashier, who does too: by its speed and the Enter at the end. It
/// looks at every key before anybody else does. Characters are held until it is plain what they are: those of
/// a scan go to nobody, those of the cashier go on in their order. One at a time, on the window's thread.
class Scanner : public QObject
{
    Q_OBJECT

public:
    /// What the scanner is set to send around each code; taken off when it is there.
    struct Marks
    {
        QString prefix;
        QString suffix; ///< when the scanner sends no Enter, this ends a code
    };

    /// `waiting` is the caller's and outlives this; what is typed while a request runs does not come later.
    Scanner(const Waiting& waiting, Marks marks, QObject* parent = nullptr);

    /// Whether characters are held.
    [[nodiscard]] bool isUndecided() const { return !m_held.empty(); }

    bool eventFilter(QObject* watched, QEvent* event) override;

Q_SIGNALS:
    /// A code was scanned, without its marks.
    void scanned(const QString& code);
    /// What was typed was meant for another screen than there is now.
    void typingIgnored();

private:
    using Keys = std::vector<std::unique_ptr<QKeyEvent>>;

    bool press(const QKeyEvent& key);
    void hold(const QKeyEvent& key);
    /// What is held is a scan.
    void take();
    /// What is held was typed.
    void release();
    void settle();
    [[nodiscard]] bool isCharacter(const QKeyEvent& key) const;
    [[nodiscard]] bool isFast(const QKeyEvent& key) const;
    [[nodiscard]] bool isScan() const;
    Keys letGo();

    const Waiting& m_waiting;
    Marks m_marks;
    Keys m_held;
    QString m_text; ///< that the held keys make
    quint64 m_last = 0;
    bool m_late = false;                ///< a request ran when the first of them was pressed
    QPointer<QWindow> m_window;         ///< that it was pressed in
    const QEvent* m_released = nullptr; ///< the one that is on its way to the window
    QTimer m_timer;
};

} // namespace till::window
