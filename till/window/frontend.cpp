#include "till/window/frontend.h"

#include "till/checkout/screen.h"
#include "till/window/dialogs/choicedialog.h"
#include "till/window/dialogs/inputdialog.h"
#include "till/window/widgets.h"

#include <QDialog>
#include <QHBoxLayout>
#include <QVBoxLayout>

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
    const Waiting::Pause pause(m_waiting);
    InputDialog dialog(request, m_parent);
    return dialog.ask();
}

bool WindowFrontend::confirm(const QString& title, const QString& text, const QString& yes, const QString& no)
{
    const Waiting::Pause pause(m_waiting);
    QDialog dialog(m_parent);
    dialog.setWindowTitle(title);
    dialog.setObjectName(u"confirm"_s);
    auto* layout = new QVBoxLayout(&dialog);
    layout->setContentsMargins(24, 20, 24, 20);
    layout->setSpacing(16);
    layout->addWidget(label(title, u"title"_s));
    auto* words = label(text);
    words->setWordWrap(true);
    words->setMinimumWidth(420);
    layout->addWidget(words);
    auto* buttons = new QHBoxLayout;
    auto* refuse = button(no, u"Esc"_s, u"second"_s);
    auto* agree = button(yes, u"Enter"_s, u"primary"_s);
    buttons->addWidget(refuse);
    buttons->addWidget(agree);
    layout->addLayout(buttons);
    QObject::connect(refuse, &QPushButton::clicked, &dialog, &QDialog::reject);
    QObject::connect(agree, &QPushButton::clicked, &dialog, &QDialog::accept);
    agree->setDefault(true);
    agree->setFocus();
    return dialog.exec() == QDialog::Accepted;
}

} // namespace till::window
