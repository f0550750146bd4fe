#include "tests/simulation/fate.h"

#include "tests/simulation/beside.h"

#include <algorithm>

namespace simulation {

Fate& Fate::one()
{
    static Fate fate;
    return fate;
}

void Fate::begin(const QList<Trouble>& troubles, std::function<void(const Trouble&)> died)
{
    m_troubles = troubles;
    m_died = std::move(died);
    m_moments = m_requests = m_accesses = 0;
    m_isDead[0] = m_isDark = false;
}

void Fate::end() { begin({}, {}); }

bool Fate::isDead() const { return m_isDead[beside::isSecond()]; }

void Fate::moment()
{
    if (isDead())
        return;
    beside::point();
    if (isDead())
        return;
    if (const Trouble* end = due(m_moments++, Trouble::Killed, Trouble::PowerCut)) {
        m_died(*end); // reads the disk, which is still as it was
        m_isDead[beside::isSecond()] = true;
        if (end->kind == Trouble::PowerCut)
            m_isDead = {true, m_isDark = true};
    }
}

bool Fate::startAnew()
{
    m_isDead[1] = m_isDark;
    return !m_isDark;
}

std::optional<Trouble::Kind> Fate::ofRequest()
{
    const Trouble* trouble = due(m_requests++, Trouble::RequestLost, Trouble::Forbidden);
    return trouble ? std::optional(trouble->kind) : std::nullopt;
}

std::optional<Trouble::Kind> Fate::ofAccess()
{
    const Trouble* trouble = due(m_accesses++, Trouble::DiskFails, Trouble::DiskFull);
    return trouble ? std::optional(trouble->kind) : std::nullopt;
}

const Trouble* Fate::due(int count, Trouble::Kind first, Trouble::Kind last)
{
    const auto found = std::find_if(m_troubles.cbegin(), m_troubles.cend(), [&](const Trouble& trouble) {
        return trouble.kind >= first && trouble.kind <= last && count >= trouble.at &&
               count < trouble.at + trouble.length;
    });
    if (found == m_troubles.cend())
        return nullptr;
    ++m_struck[found->kind];
    return &*found;
}

} // namespace simulation
