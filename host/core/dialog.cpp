#include "host/core/dialog.h"

#include "host/utils/basicexception.h"

using namespace Qt::StringLiterals;

template class MockFactory<Dialog>;

namespace {

DialogFrontend* theFrontend = nullptr;

DialogFrontend& frontend()
{
    if (!theFrontend)
        throw BasicException(
            tr::Tr(u"hostDialogMissing"_s, u"Нет окна или терминала, чтобы спросить кассира"_s));
    return *theFrontend;
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

void Dialog::setFrontend(DialogFrontend* frontend) { theFrontend = frontend; }

int Dialog::chooseFromList(const ChoiceRequest& request) { return frontend().chooseFromList(request); }

core::BasicDialog::Result Dialog::inputText(const TextInputRequest& request)
{
    return frontend().inputText(request);
}
