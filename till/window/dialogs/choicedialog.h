#pragma once

#include "host/core/dialog.h"
#include "till/window/dialogs/question.h"

#include <QListWidget>

namespace till::window {

/// A list to choose one of.
class ChoiceDialog : public Question
{
public:
    ChoiceDialog(const ChoiceRequest& request, QWidget* parent);

    /// The chosen index, or -1 when the list was closed.
    int ask();
    /// A list that may not be closed stays.
    void reject() override;

private:
    bool m_closable;
    QListWidget* m_list;
};

} // namespace till::window
