#include "host/core/loyaltysystems.h"

#include <algorithm>

template class Singleton<LoyaltySystems>;

bool LoyaltySystems::add(BasicLoyaltySystem* system)
{
    const BasicLoyaltySystem* registered = find(system->getType());
    if (!registered)
        m_systems.append(system);
    return !registered || registered == system;
}

void LoyaltySystems::remove(BasicLoyaltySystem* system) { m_systems.removeAll(system); }

BasicLoyaltySystem* LoyaltySystems::find(LoyaltySystemType type) const
{
    const auto ofType = [type](const BasicLoyaltySystem* system) { return system->getType() == type; };
    const auto found = std::find_if(m_systems.begin(), m_systems.end(), ofType);
    return found == m_systems.end() ? nullptr : *found;
}
