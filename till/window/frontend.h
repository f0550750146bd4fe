#pragma once

#include "host/core/dialog.h"
#include "till/window/checkoutmodel.h"
#include "till/window/waiting.h"

#include <QPointer>
#include <QWidget>

namespace till::window {

/// Shows the questions of the plug-in, and those of the window itself, as dialogs over the window.
class WindowFrontend : public DialogFrontend
{
public:
    explicit WindowFrontend(Waiting& waiting)
        : m_waiting(waiting)
    {}
    /// Over which window; stays the caller's.
    void setParent(QWidget* parent) { m_parent = parent; }
    /// What is asked about; stays the caller's. Without it, only what is asked is shown.
    void setModel(CheckoutModel* model) { m_model = model; }

    int chooseFromList(const ChoiceRequest& request) override;
    core::BasicDialog::Result inputText(const TextInputRequest& request) override;
    /// Asks before something is lost: true when the cashier said yes. Enter and Escape are no.
    bool confirm(const QString& title, const QString& text, const QString& yes, const QString& no);

private:
    core::BasicDialog::Result askCode(const TextInputRequest& request, CodeEntry& code);
    /// Puts what is known of each card behind its number.
    void describe(ChoiceRequest& shown, const ChoiceRequest& asked) const;

    Waiting& m_waiting;
    QPointer<CheckoutModel> m_model;
    QPointer<QWidget> m_parent;
};

} // namespace till::window
