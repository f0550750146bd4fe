#pragma once

#include "till/player.h"

#include <QTextStream>

namespace till {

/// Steps typed one a line.
class Shell
{
public:
    /// `talk` is where the shell itself speaks: help, and what is wrong with a line. With `prompt` it asks
    /// for each line. All are the caller's.
    Shell(QTextStream& in, QTextStream& talk, bool prompt)
        : m_in(in)
        , m_talk(talk)
        , m_prompt(prompt)
    {}

    /// Plays line by line until "quit" or the end of the input.
    void run(Player& player);

private:
    void printHelp();

    QTextStream& m_in;
    QTextStream& m_talk;
    bool m_prompt;
};

/// The step of a line: a JSON object, or its name and members, `identifyByCard card=2000000000017`. A value
/// with blanks stands in quotes; lists are JSON.
std::optional<Step> parseLine(const QString& line, Problems& problems);

} // namespace till
