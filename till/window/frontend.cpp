#include "till/window/frontend.h"

#include "till/checkout/screen.h"
#include "till/window/dialogs/choicedialog.h"
#include "till/window/dialogs/inputdialog.h"
#include "till/window/dialogs/question.h"
#include "till/window/widgets.h"

#include <QHBoxLayout>

using namespace Qt::StringLiterals;

namespace till::window {

int WindowFrontend::chooseFromList(const ChoiceRequest& request)
{
    const Waiting::Pause pause(m_waiting);
    ChoiceDialog dialog(screen::masked(request), m_parent);
    return dialog.ask();
}

core::BasicDialog::Result WindowFrontend::inputText(const TextInputRequest& request)
{
    // Digits that a request asks for in its middle are a code that the customer was sent.
    const bool isCode = m_waiting.underWay() && request.inputKind == TextInputRequest::Digits;
    const Waiting::Pause pause(m_waiting, isCode);
    InputDialog dialog(request, m_parent);
    const auto answer = dialog.ask();
    if (answer.canceled())
        m_waiting.noteCancelled();
    return answer;
}

bool WindowFrontend::confirm(const QString& title, const QString& text, const QString& yes, const QString& no)
{
    const Waiting::Pause pause(m_waiting);
    Question dialog(title, m_parent);
    dialog.setObjectName(u"confirm"_s);
    dialog.column().setSpacing(16);
    auto* words = label(text);
    words->setWordWrap(true);
    words->setMinimumWidth(420);
    dialog.column().addWidget(words);
    auto* buttons = new QHBoxLayout;
    auto* refuse = button(no, u"Enter"_s, u"primary"_s);
    auto* agree = button(yes, u"Del"_s, u"danger"_s);
    buttons->addWidget(refuse);
    buttons->addWidget(agree);
    dialog.column().addLayout(buttons);
    QObject::connect(refuse, &QPushButton::clicked, &dialog, &QDialog::reject);
    QObject::connect(agree, &QPushButton::clicked, &dialog, &QDialog::accept);
    bind(&dialog, Qt::Key_Delete, agree);
    refuse->setDefault(true);
    refuse->setFocus();
    return dialog.exec() == QDialog::Accepted;
}

} // namespace till::window
