#pragma once

#include "host/core/document.h"
#include "host/core/loyaltysystems.h"

#include <gtest/gtest.h>

/// The base's behaviour and nothing else, with its protected part laid open.
class PlainSystem : public BasicLoyaltySystem
{
public:
    explicit PlainSystem(LoyaltySystemType type = KyrLoyaltySystem) { m_type = type; }

    using BasicLoyaltySystem::clearLoyaltyData;
    using BasicLoyaltySystem::distributeBonusRecord;
    using BasicLoyaltySystem::getCard;
    using BasicLoyaltySystem::pointsMessage;
    using BasicLoyaltySystem::registerLoyaltySystem;
    using BasicLoyaltySystem::setOption;

    using BasicLoyaltySystem::m_bonusImpacts;
    using BasicLoyaltySystem::m_bonusRecords;
    using BasicLoyaltySystem::m_pointsForSpend;
};
