#pragma once

#include "plugin/kyrloyalty.h"

#include <gmock/gmock.h>

/// The service client with every operation that the adapter calls replaced.
class MockClient : public KyrLoyaltyInterface
{
public:
    MOCK_METHOD(bool, init, (), (override));
    MOCK_METHOD(void, getUserInfo, (const QSharedPointer<DocumentCardRecord>&), (const, override));
    MOCK_METHOD(QList<QString>, getCardNumbers, (const QString&), (const, override));
    MOCK_METHOD(void, anonymousReceipt, (), (const, override));
};

/// The adapter with its state open to tests and, once given one, another client than the real one.
class OpenLoyalty : public KyrLoyalty
{
public:
    using BasicLoyaltySystem::watchedDocument;
    using KyrLoyalty::client;
    using KyrLoyalty::logger;
    using KyrLoyalty::m_bonusImpacts;
    using KyrLoyalty::m_lastError;
    using KyrLoyalty::m_pointsForSpend;
    using KyrLoyalty::smsVerification;
};
