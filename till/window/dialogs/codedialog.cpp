#include "till/window/dialogs/codedialog.h"

#include "host/utils/masking.h"
#include "till/checkout/screen.h"

using namespace Qt::StringLiterals;

namespace till::window {

namespace {

QString whereTo(const QString& phone)
{
    return phone.isEmpty()
               ? tr::shown(u"windowCodeSent"_s, u"Код отправлен покупателю, телефон служба не назвала"_s)
               : tr::shown(u"windowCodeSentTo"_s, u"Код отправлен на %1"_s).arg(utils::maskWhole(phone));
}

QString triesText(int sent)
{
    return sent > 1 ? tr::shown(u"windowCodeIsNew"_s, u"Это новый код, прежний не подойдёт. Попытка одна"_s)
                    : tr::shown(u"windowCodeOneTry"_s, u"Попытка одна: потом придёт новый код"_s);
}

} // namespace

CodeDialog::CodeDialog(const TextInputRequest& request, const CodeEntry& code, QWidget* parent)
    : InputDialog(request, parent)
{
    const QStringList lines{
        tr::shown(u"windowCodePoints"_s, u"Списать баллов: %1"_s).arg(screen::amount(code.points())),
        whereTo(code.phone()), triesText(code.sent())};
    addWords(lines.join(u'\n'));
    if (!request.cancelAllowed)
        return;
    auto* another = button(tr::shown(u"windowCodeAgain"_s, u"Отправить ещё раз"_s), u"F5"_s, u"second"_s);
    connect(another, &QPushButton::clicked, this, [this] {
        m_isAnotherWanted = true;
        reject();
    });
    bind(this, Qt::Key_F5, another);
    addAnswer(another);
}

} // namespace till::window
