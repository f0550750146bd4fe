#include "till/window/frontend.h"

#include "host/utils/tr.h"
#include "till/checkout/screen.h"
#include "till/window/dialogs/choicedialog.h"
#include "till/window/dialogs/codedialog.h"
#include "till/window/dialogs/inputdialog.h"
#include "till/window/dialogs/question.h"
#include "till/window/widgets.h"

#include <QHBoxLayout>

using namespace Qt::StringLiterals;

namespace till::window {

int WindowFrontend::chooseFromList(const ChoiceRequest& request)
{
    const Waiting::Pause pause(m_waiting);
    ChoiceRequest shown = screen::masked(request);
    describe(shown, request);
    ChoiceDialog dialog(shown, m_parent);
    return dialog.ask();
}

// The loyalty system tells numbers alone, and to ask about a card that nobody has chosen may change it.
void WindowFrontend::describe(ChoiceRequest& shown, const ChoiceRequest& asked) const
{
    for (qsizetype i = 0; i < shown.items.size(); ++i) {
        const auto known = m_model ? m_model->known(asked.items[i].ru()) : std::nullopt;
        if (!known)
            continue;
        constexpr qsizetype mostOfAName = 40;
        QStringList words;
        if (!known->name.isEmpty())
            words.append(shortened(known->name, mostOfAName));
        if (known->balance)
            words.append(tr::shown(u"windowKnownBalance"_s, u"%1 на %2"_s)
                             .arg(screen::amount(*known->balance), known->time.toString(u"HH:mm"_s)));
        if (!words.isEmpty())
            shown.items[i] = tr::Tr(shown.items[i].id(), shown.items[i].ru() + u'\n' + words.join(u", "_s));
    }
}

core::BasicDialog::Result WindowFrontend::inputText(const TextInputRequest& request)
{
    if (m_model && m_model->code().isUnderWay())
        return askCode(request, m_model->code());
    const Waiting::Pause pause(m_waiting);
    InputDialog dialog(request, m_parent);
    const auto answer = dialog.ask();
    if (answer.canceled())
        m_waiting.noteCancelled();
    return answer;
}

core::BasicDialog::Result WindowFrontend::askCode(const TextInputRequest& request, CodeEntry& code)
{
    const Waiting::Pause pause(m_waiting, true);
    code.ask();
    CodeDialog dialog(request, code, m_parent);
    const auto answer = dialog.ask();
    code.answer(dialog.isAnotherWanted() ? CodeEntry::Outcome::SendAgain
                : answer.canceled()      ? CodeEntry::Outcome::Cancelled
                                         : CodeEntry::Outcome::Entered);
    if (code.outcome() == CodeEntry::Outcome::Cancelled)
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
