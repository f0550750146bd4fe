#pragma once

#include "till/window/widgets.h"

#include <QFrame>
#include <QTimer>

namespace till::window {

/// The card over the window that says what a running request is about.
class WaitingCard : public QFrame
{
public:
    /// Lies in the middle of the parent, hidden.
    explicit WaitingCard(QWidget* parent);

    /// From now on something runs; the card comes when it is not over at once.
    void begin();
    void end();
    /// The message that the plug-in wants to be seen meanwhile.
    void showMessage(const QString& text);
    /// Why what the cashier did was not taken.
    void showIgnored(const QString& text);
    /// Keeps the card in the middle of the parent.
    void place();
    /// What the card says; empty: it is not shown.
    [[nodiscard]] QString text() const;

private:
    Label* m_text;
    Label* m_hint;
    QTimer m_soon;
};

} // namespace till::window
