#pragma once

#include "client/kyrloyaltyinterface.h"

/// The real client with its settings open to tests.
class OpenClient : public KyrLoyaltyInterface
{
public:
    using KyrLoyaltyInterface::bonusRatio;
    using KyrLoyaltyInterface::currencyName;
    using KyrLoyaltyInterface::headers;
    using KyrLoyaltyInterface::logger;
    using KyrLoyaltyInterface::serverUrl;
    using KyrLoyaltyInterface::timeout;
};
