#pragma once

#include <pos/event.h>
#include <pos/hostcodes.h>

// This host's names for its codes are others; the values are the same.
inline constexpr auto SaleReceipt = POS_RECEIPT;
inline constexpr auto ReturnReceipt = POS_REFUND;
inline constexpr auto LoyaltyCardPresented = POS_FLAG_CARD;
inline constexpr auto KyrLoyaltySystem = POS_LOYALTY_12;
namespace ECard {
inline constexpr auto RegistrationIncomplete = NEW;
inline constexpr auto Active = GOOD;
inline constexpr auto Blocked = STOPPED;
} // namespace ECard
namespace EActivityListener {
inline constexpr auto ReceiptClosed = EVENT_10;
inline constexpr auto ProcessMessage = EVENT_72;
inline constexpr auto BeforeModalDialog = EVENT_73;
} // namespace EActivityListener
