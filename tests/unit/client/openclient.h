#pragma once

#include "client/kyrloyaltyinterface.h"
#include "plugin/kyrloyaltyexception.h"

#include <gtest/gtest.h>

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

/// The text of the KyrLoyaltyException that the operation throws; without one the test fails.
template <class Operation>
tr::Tr failureOf(Operation operation)
{
    try {
        operation();
    } catch (const KyrLoyaltyException& exception) {
        return exception.tr();
    }
    ADD_FAILURE() << "no KyrLoyaltyException";
    return {};
}
