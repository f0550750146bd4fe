#include "till/scenario/scriptedfrontend.h"

#include "till/checkout/screen.h"

#include <stdexcept>
#include <utility>

using namespace Qt::StringLiterals;

namespace till {

void ScriptedFrontend::script(const Script& script)
{
    m_script = script;
    m_shown.clear();
}

int ScriptedFrontend::chooseFromList(const ChoiceRequest& request)
{
    const ChoiceRequest list = screen::masked(request);
    if (!m_script.choice && m_fallback)
        return m_fallback->chooseFromList(list);
    const int chosen = std::exchange(m_script.choice, std::nullopt).value_or(-1);
    // The plug-in trusts a front end's answer.
    if (chosen < -1 || chosen >= request.items.size())
        throw std::out_of_range(
            tr::shown(u"tillNoSuchLine"_s, u"В списке «%1» нет строки с индексом %2 (всего строк: %3)"_s)
                .arg(request.title.shown(), QString::number(chosen), QString::number(request.items.size()))
                .toStdString());
    ShownDialog dialog{.title = request.title.shown(),
                       .items = {},
                       .chosen = chosen,
                       .outcome =
                           chosen < 0 ? tr::shown(u"tillListClosed"_s, u"Список закрыт"_s) : QString()};
    for (const tr::Tr& item : list.items)
        dialog.items.append(item.shown());
    m_shown.append(dialog);
    return chosen;
}

core::BasicDialog::Result ScriptedFrontend::inputText(const TextInputRequest& request)
{
    if (!m_script.text && m_fallback)
        return m_fallback->inputText(request);
    const auto text = std::exchange(m_script.text, std::nullopt);
    m_shown.append({.title = request.title.shown(),
                    .outcome = text ? tr::shown(u"tillEntered"_s, u"Введено"_s)
                                    : tr::shown(u"tillEntryClosed"_s, u"Ввод отменён"_s)});
    return text ? core::BasicDialog::Result::entered(*text) : core::BasicDialog::Result::cancelled();
}

} // namespace till
