#include "plugin/kyrloyalty.h"

#include <gtest/gtest.h>

#include <array>
#include <cstring>
#include <vector>

// The host and test doubles built elsewhere reach the operations by their place in the table of virtual
// operations, so their order is part of the contract. A pointer to a virtual member holds that place (the
// Itanium C++ ABI, which Linux uses: the offset in the table plus one).

namespace {

template <class Member>
std::ptrdiff_t slot(Member member)
{
    static_assert(sizeof(member) == 2 * sizeof(std::ptrdiff_t));
    std::array<std::ptrdiff_t, 2> words{};
    std::memcpy(words.data(), &member, sizeof(words));
    EXPECT_EQ(words[0] % 2, 1) << "not a virtual operation";
    return words[0] / static_cast<std::ptrdiff_t>(sizeof(void*));
}

void expectAscending(const std::vector<std::ptrdiff_t>& slots)
{
    for (std::size_t i = 1; i < slots.size(); ++i)
        EXPECT_GT(slots[i], slots[i - 1]) << "operation " << i << " stands before its predecessor";
}

TEST(VirtualOrder, OfTheClientIsTheContracts)
{
    using C = KyrLoyaltyInterface;
    const std::vector<std::ptrdiff_t> slots{
        slot(&C::init),
        slot(&C::getUserInfo),
        slot(&C::prePayment),
        slot(&C::forcePayment),
        slot(&C::payment),
        slot(&C::confirmPayment),
        slot(&C::earnPoints),
        slot(&C::refusePayment),
        slot(&C::cancel),
        slot(&C::getCardNumbers),
        slot(&C::anonymousReceipt),
        slot(&C::bonusToMoney),
        slot(&C::moneyToBonus),
        slot(&C::getServerResponse),
        slot(&C::makeCheck),
        slot(&C::prepareBonusImpact),
        slot(&C::prepareBonusRecord),
        slot(&C::getOperationId),
        slot(&C::setOperationId),
        slot(&C::sendAnonymousCheck),
        slot(&C::makeAnonymousDocumentPartial),
        slot(&C::makeAnonymousDocument),
        slot(&C::getCardStatus),
    };
    for (std::size_t i = 0; i < slots.size(); ++i)
        EXPECT_EQ(slots[i], static_cast<std::ptrdiff_t>(i) + 2) << "the destructor's two places come first";
}

TEST(VirtualOrder, OfTheAdapterIsTheHosts)
{
    using K = KyrLoyalty;
    expectAscending({
        slot(&K::handleEvent),
        slot(&K::init),
        slot(&K::identifyByCard),
        slot(&K::getCardInfo),
        slot(&K::request),
        slot(&K::commit),
        slot(&K::rollback),
        slot(&K::cancel),
        slot(&K::spendPoints),
        slot(&K::getPointsForSpend),
        slot(&K::hasPointsForEarn),
        slot(&K::getPointsForEarn),
        slot(&K::restoreLoyaltySystem),
        slot(&K::getCardNumber),
        slot(&K::updatePluginData),
    });
}

TEST(VirtualOrder, OfTheAdaptersBasesIsListenerThenLoyaltySystem)
{
    KyrLoyalty loyalty;
    const auto address = [&loyalty](auto* base) {
        return reinterpret_cast<const char*>(base) - reinterpret_cast<const char*>(&loyalty);
    };
    EXPECT_EQ(address(static_cast<BaseActivityListener*>(&loyalty)), 0);
    EXPECT_GT(address(static_cast<BasicLoyaltySystem*>(&loyalty)), 0);
    EXPECT_EQ(address(static_cast<DocumentWatcher*>(&loyalty)),
              address(static_cast<BasicLoyaltySystem*>(&loyalty)))
        << "the loyalty system brings the watcher first";
    EXPECT_GT(address(static_cast<BasicPlugin*>(&loyalty)),
              address(static_cast<BasicLoyaltySystem*>(&loyalty)))
        << "the host's plug-in base is a virtual one, behind all others";
}

} // namespace
