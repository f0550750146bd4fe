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
    QStringList items = {}; ///< with card and phone numbers masked; none when a text was asked for
    int chosen = -1;        ///< index in the items; -1: none
    QString outcome = {};   ///< in words, when it is not a chosen item; never what was entered
};

/// How the cashier answers the dialogs of a step; what is not there is not scripted.
struct Script
{
    std::optional<int> choice = {};   ///< the index chosen from the next list, -1 to close it
    std::optional<QString> text = {}; ///< what is entered into the next field
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

    /// For the next step: forgets what was shown and scripted before.
    void script(const Script& script);

    /// The dialogs answered from the script or closed since then; those of the fallback it showed itself.
    [[nodiscard]] const QList<ShownDialog>& shown() const { return m_shown; }

    /// Throws std::out_of_range when the scripted index is not in the list.
    int chooseFromList(const ChoiceRequest& request) override;
    core::BasicDialog::Result inputText(const TextInputRequest& request) override;

private:
    DialogFrontend* m_fallback;
    Script m_script;
    QList<ShownDialog> m_shown;
};

} // namespace till
