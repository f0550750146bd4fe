#pragma once

#include "host/core/dialog.h"

#include <QTextStream>

/// Dialogs as lines of text: the question is printed, the answer is a line. The end of the input cancels.
/// What a terminal must not get is replaced in every text.
/// One item is chosen, by its number; extra items are not offered, nor several lines of text.
class HOST_EXPORT TerminalFrontend : public DialogFrontend
{
public:
    /// Both streams are the caller's and must outlive the front end. When `in` is the process's terminal,
    /// what is typed into a hidden question is not echoed.
    TerminalFrontend(QTextStream& in, QTextStream& out)
        : m_in(in)
        , m_out(out)
    {}

    int chooseFromList(const ChoiceRequest& request) override;
    core::BasicDialog::Result inputText(const TextInputRequest& request) override;

private:
    void print(const tr::Tr& text);

    QTextStream& m_in;
    QTextStream& m_out;
};
