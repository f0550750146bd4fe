#pragma once

/// The host's numeric codes. The values are fixed by the host and stand in stored documents; the names are
/// ours.

/// Which loyalty system a card record belongs to; also the kind under which a document keeps the record.
enum LoyaltySystemType : int {
    NoLoyaltySystem = 0,
    KyrLoyaltySystem = 12,
};

enum EDocumentType : int {
    SaleReceipt = 1,
    ReturnReceipt = 25,
};

enum EDocumentFlag : int {
    /// The receipt carries a card of a loyalty system, so it is not reported as an anonymous one.
    LoyaltyCardPresented = 254,
};

/// What a loyalty system asks the till to do for it.
enum class LoyaltySystemOption : int {
    SearchByPhone = 16,      ///< offer the cashier to look a customer up by phone number
    PointsAsDiscount = 1024, ///< spent points lower the positions' sums instead of being a means of payment
};

/// How a card number came in.
enum class ECardNumberType : int {
    Unknown = 0,
    Scanned = 1,
    Swiped = 2,
    Typed = 3,
};

namespace ECard {
enum Status : int {
    RegistrationIncomplete = 0,
    Active = 1,
    Blocked = 2,
};
} // namespace ECard

namespace EDiscountType {
enum type : int {
    None = 0,
    Bonus = 5,
};
} // namespace EDiscountType

namespace EDiscountMode {
enum type : int {
    None = 0,
    Sum = 2, ///< the rate is an amount of money, not a percentage
};
} // namespace EDiscountMode

namespace EDiscountObject {
enum type : int {
    Document = 0, ///< the discount is one of the whole receipt, spread over its positions
    Position = 1,
};
} // namespace EDiscountObject

namespace EImpactSource {
enum source : int {
    None = 0,
    LoyaltySystem = 2,
};
} // namespace EImpactSource
