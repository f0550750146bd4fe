#pragma once

#include "till/scenario/player.h"

#include <QTextStream>

#include <functional>

namespace till {

/// Steps typed one a line.
class Shell
{
public:
    /// `talk` is where the shell itself speaks: help, and what is wrong with a line. With `prompt` it asks
    /// for each line. All are the caller's.
    /// `alarms` says what the cashier has to know before the next prompt; it may be empty.
    Shell(QTextStream& in, QTextStream& talk, bool prompt, const std::function<QStringList()>& alarms = {})
        : m_in(in)
        , m_talk(talk)
        , m_prompt(prompt)
        , m_alarms(alarms)
    {}

    /// Plays line by line until "quit" or the end of the input.
    void run(Player& player);

private:
    void printHelp();
    void printAlarms();

    QTextStream& m_in;
    QTextStream& m_talk;
    bool m_prompt;
    std::function<QStringList()> m_alarms;
    QStringList m_told; ///< of the alarms: one that lasts is told once
};

/// The step of a line: a JSON object, or its name and members, `identifyByCard card=2000000000017`. A value
/// with blanks stands in quotes; lists are JSON.
std::optional<Step> parseLine(const QString& line, Problems& problems);

} // namespace till
