#pragma once

#include "host/core/dialog.h"
#include "host/utils/standingtime.h"

#include <chrono>
#include <optional>

namespace till::conformance {

/// Answers the dialogs: takes the card under test from a list, and enters the code that it was told.
class Cashier : public DialogFrontend
{
public:
    explicit Cashier(const QString& card)
        : m_card(card)
    {}

    /// For the next question alone; nothing: the person at the terminal is asked, or the dialog is closed.
    void enter(const std::optional<QString>& code) { m_code = code; }

    int chooseFromList(const ChoiceRequest& request) override;
    core::BasicDialog::Result inputText(const TextInputRequest& request) override;

private:
    QString m_card;
    std::optional<QString> m_code;
};

/// The host's clock while a service is tried: it tells receipts apart by the second, and several are played
/// within one. Starts at some moment of the last week, so that a run does not meet the numbers of another:
/// the queue delivers later than that, so no service minds. Goes on with each receipt.
class Clock
{
public:
    Clock();
    ~Clock();
    Clock(const Clock&) = delete;
    Clock& operator=(const Clock&) = delete;

    void advance() { m_now = m_now.addSecs(apart.count()); }

private:
    static constexpr std::chrono::seconds apart{2}; ///< each receipt has two numbers
    QDateTime m_now;
};

} // namespace till::conformance
