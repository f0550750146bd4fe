#pragma once

#include "tests/simulation/story.h"

#include <array>
#include <functional>
#include <optional>

namespace simulation {

/// What an episode has in store, as network and disk ask for it. There is one world in a process.
class Fate
{
public:
    static Fate& one();

    /// From now on these, and the till lives. What `died` does is done at the moment of the death, before
    /// anything else can happen.
    void begin(const QList<Trouble>& troubles, std::function<void(const Trouble&)> died);
    /// Nothing goes wrong any more.
    void end();

    /// Whether the process that asks is dead: what its code still does reaches neither disk nor network.
    [[nodiscard]] bool isDead() const;
    /// One at which the process may die, and before it the turn may be another's.
    void moment();
    /// The program beside the till is started, anew where it is dead; false: there is no power.
    bool startAnew();
    /// What the network does with the next request; nothing: it carries it.
    std::optional<Trouble::Kind> ofRequest();
    /// What the disk does at the next access that changes something; nothing: as it is told.
    std::optional<Trouble::Kind> ofAccess();
    /// How often each kind came to pass in all.
    [[nodiscard]] int struck(Trouble::Kind kind) const { return m_struck[kind]; }

private:
    const Trouble* due(int count, Trouble::Kind first, Trouble::Kind last);

    QList<Trouble> m_troubles;
    std::function<void(const Trouble&)> m_died;
    int m_moments = 0;
    int m_requests = 0;
    int m_accesses = 0;
    std::array<bool, 2> m_isDead{}; ///< the till, and the program beside it
    bool m_isDark = false;          ///< the power has failed
    int m_struck[Trouble::kinds] = {};
};

} // namespace simulation
