#pragma once

#include "host/core/dialog.h"
#include "till/window/dialogs/question.h"

#include <QHBoxLayout>
#include <QLineEdit>
#include <QPushButton>

namespace till::window {

/// A question that is answered with a text, as the request's options say. One that asks for digits has keys
/// for them on the screen.
class InputDialog : public Question
{
public:
    /// `start` stands in the field at first, selected.
    InputDialog(const TextInputRequest& request, QWidget* parent, const QString& start = {});

    core::BasicDialog::Result ask();
    /// A question that may not be cancelled stays.
    void reject() override;
    /// Not with an empty text where that is no answer.
    void accept() override;

protected:
    /// Above the question.
    void addWords(const QString& text);
    /// Before the one that confirms.
    void addAnswer(QPushButton* answer);

private:
    [[nodiscard]] QString answer() const;

    TextInputRequest m_request;
    Label* m_words;
    QLineEdit* m_field;
    QHBoxLayout* m_answers;
    QPushButton* m_ok;
};

} // namespace till::window
