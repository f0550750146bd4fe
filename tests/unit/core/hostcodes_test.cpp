#include "host/core/documentcardrecord.h"
#include "host/core/event.h"

#include <gtest/gtest.h>

namespace {

struct Code
{
    const char* name;
    int ours;
    int hosts; ///< as it stands in stored documents
};

class HostCode : public testing::TestWithParam<Code>
{};

TEST_P(HostCode, IsTheHostsNumber) { EXPECT_EQ(GetParam().ours, GetParam().hosts); }

template <class Enumeration>
Code code(const char* name, Enumeration ours, int hosts)
{
    return {name, static_cast<int>(ours), hosts};
}

INSTANTIATE_TEST_SUITE_P(
    Each, HostCode,
    testing::Values(
        code("NoLoyaltySystem", NoLoyaltySystem, 0), code("KyrLoyaltySystem", KyrLoyaltySystem, 12),
        code("SaleReceipt", SaleReceipt, 1), code("ReturnReceipt", ReturnReceipt, 25),
        code("LoyaltyCardPresented", LoyaltyCardPresented, 254),
        code("ReceiptClosed", EActivityListener::ReceiptClosed, 10),
        code("ProcessMessage", EActivityListener::ProcessMessage, 72),
        code("BeforeModalDialog", EActivityListener::BeforeModalDialog, 73),
        code("PointsAsDiscount", LoyaltySystemOption::PointsAsDiscount, 1024),
        code("SearchByPhone", LoyaltySystemOption::SearchByPhone, 16),
        code("RegistrationIncomplete", ECard::RegistrationIncomplete, 0), code("Active", ECard::Active, 1),
        code("Blocked", ECard::Blocked, 2), code("UnknownEntry", ECardNumberType::Unknown, 0),
        code("Scanned", ECardNumberType::Scanned, 1), code("Swiped", ECardNumberType::Swiped, 2),
        code("Typed", ECardNumberType::Typed, 3), code("Male", Client::Sex::Male, 0),
        code("Female", Client::Sex::Female, 1), code("NoDiscount", EDiscountType::None, 0),
        code("BonusDiscount", EDiscountType::Bonus, 5), code("NoMode", EDiscountMode::None, 0),
        code("SumMode", EDiscountMode::Sum, 2), code("WholeDocument", EDiscountObject::Document, 0),
        code("OnePosition", EDiscountObject::Position, 1), code("NoSource", EImpactSource::None, 0),
        code("LoyaltySource", EImpactSource::LoyaltySystem, 2)),
    [](const auto& instance) { return std::string(instance.param.name); });

} // namespace
