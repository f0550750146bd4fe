#pragma once

#include "host/core/basicloyaltysystem.h"
#include "host/utils/export.h"
#include "host/utils/singleton.h"

#include <QList>

/// The loyalty systems that have registered themselves with the till. None is owned; each takes itself out
/// when it is destroyed.
class HOST_EXPORT LoyaltySystems
{
public:
    /// False, and nothing changed, when another system of the same type is registered. The same one again is
    /// fine.
    bool add(BasicLoyaltySystem* system);
    /// Forgets the system; fine when it is not registered.
    void remove(BasicLoyaltySystem* system);
    /// The registered system of that type, or null.
    [[nodiscard]] BasicLoyaltySystem* find(LoyaltySystemType type) const;

private:
    QList<BasicLoyaltySystem*> m_systems;
};

extern template class HOST_EXPORT Singleton<LoyaltySystems>;
