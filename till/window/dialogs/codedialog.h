#pragma once

#include "till/window/codeentry.h"
#include "till/window/dialogs/inputdialog.h"

namespace till::window {

/// The question for the code of a spending, with what is spent and where the code went. The loyalty system
/// takes one answer; another code is another spending of the same points.
class CodeDialog : public InputDialog
{
public:
    CodeDialog(const TextInputRequest& request, const CodeEntry& code, QWidget* parent);

    /// Whether it was closed to have another code sent.
    [[nodiscard]] bool isAnotherWanted() const { return m_isAnotherWanted; }

private:
    bool m_isAnotherWanted = false;
};

} // namespace till::window
