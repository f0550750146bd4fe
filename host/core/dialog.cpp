#include "host/core/dialog.h"

#include "host/utils/basicexception.h"

using namespace Qt::StringLiterals;

template class MockFactory<Dialog>;

namespace {

utils::Slot<DialogFrontend*>& slot()
{
    static utils::Slot<DialogFrontend*> frontend("front end for dialogs");
    return frontend;
}

DialogFrontend& frontend()
{
    const auto registered = slot().value();
    if (!registered)
        throw BasicException(
            tr::Tr(u"hostDialogMissing"_s, u"Нет окна или терминала, чтобы спросить кассира"_s));
    return **registered;
}

} // namespace

core::BasicDialog::~BasicDialog() = default;

DialogFrontend::~DialogFrontend() = default;

Dialog::~Dialog() = default;

TextInputRequest::TextInputRequest(const tr::Tr& requestTitle, const tr::Tr& requestMessage)
    : title(requestTitle)
    , message(requestMessage)
    , scanErrorText(u"inputTextFormScanError"_s, u"Ошибка разбора введенных данных, повторите сканирование"_s)
    , okCaption(u"inputTextFormOkBtn"_s, u"ОК"_s)
    , cancelCaption(u"inputTextFormCancelBtn"_s, u"Отмена"_s)
{}

utils::Registration Dialog::registerFrontend(DialogFrontend& frontend) { return slot().take(&frontend); }

int Dialog::chooseFromList(const ChoiceRequest& request) { return frontend().chooseFromList(request); }

core::BasicDialog::Result Dialog::inputText(const TextInputRequest& request)
{
    return frontend().inputText(request);
}
