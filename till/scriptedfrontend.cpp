#include "till/scriptedfrontend.h"

#include "host/utils/masking.h"

#include <stdexcept>
#include <utility>

using namespace Qt::StringLiterals;

namespace till {

void ScriptedFrontend::script(std::optional<int> choice)
{
    m_choice = choice;
    m_shown.clear();
}

int ScriptedFrontend::chooseFromList(const ChoiceRequest& request)
{
    if (!m_choice && m_fallback) {
        ChoiceRequest masked = request;
        for (tr::Tr& item : masked.items)
            item = tr::Tr(item.id(), utils::maskNumbers(item.ru()));
        return m_fallback->chooseFromList(masked);
    }
    const int chosen = std::exchange(m_choice, std::nullopt).value_or(-1);
    // The plug-in trusts a front end's answer.
    if (chosen < -1 || chosen >= request.items.size())
        throw std::out_of_range(
            u"В списке «%1» нет строки с индексом %2 (всего строк: %3)"_s
                .arg(request.title.ru(), QString::number(chosen), QString::number(request.items.size()))
                .toStdString());
    ShownDialog dialog{.title = request.title.ru(), .items = {}, .chosen = chosen};
    for (const tr::Tr& item : request.items)
        dialog.items.append(utils::maskNumbers(item.ru()));
    m_shown.append(dialog);
    return chosen;
}

core::BasicDialog::Result ScriptedFrontend::inputText(const TextInputRequest& request)
{
    return m_fallback ? m_fallback->inputText(request) : core::BasicDialog::Result::cancelled();
}

} // namespace till
