#pragma once

#include "host/core/dialog.h"

#include <QList>
#include <QString>
#include <QStringList>

#include <optional>

namespace till {

/// A question that the cashier was asked, and what became of it.
struct ShownDialog
{
    QString title;
    QStringList items; ///< with card and phone numbers masked
    int chosen = -1;   ///< index in the items; -1: closed
};

/// Answers dialogs as the step's script says. What the script does not answer goes to the fallback; without
/// one the cashier closes the dialog, for an answer that nobody gave must not be made up. Card and phone
/// numbers in lists are masked.
class ScriptedFrontend : public DialogFrontend
{
public:
    /// The fallback may be null; it stays the caller's.
    explicit ScriptedFrontend(DialogFrontend* fallback)
        : m_fallback(fallback)
    {}

    /// For the next step: forgets what was shown and scripted before. `choice` is the index that the cashier
    /// chooses from the next list, -1 to close it; none: not scripted.
    void script(std::optional<int> choice);

    /// The lists answered from the script or closed since then; those of the fallback it showed itself.
    [[nodiscard]] const QList<ShownDialog>& shown() const { return m_shown; }

    /// Throws std::out_of_range when the scripted index is not in the list.
    int chooseFromList(const ChoiceRequest& request) override;
    core::BasicDialog::Result inputText(const TextInputRequest& request) override;

private:
    DialogFrontend* m_fallback;
    std::optional<int> m_choice;
    QList<ShownDialog> m_shown;
};

} // namespace till
