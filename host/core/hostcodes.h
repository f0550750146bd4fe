#pragma once

/// The host's numeric codes. The values are fixed by the host and stand in stored documents; the names are
/// ours.

/// Which loyalty system a card record belongs to; also the kind under which a document keeps the record.
enum LoyaltySystemType : int {
    NoLoyaltySystem = 0,
    KyrLoyaltySystem = 12,
};

/// What a document is, as far as the plug-in tells it apart.
enum EDocumentType : int {
    SaleReceipt = 1,
    ReturnReceipt = 25,
};

/// Flags of a document that the plug-in looks at.
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
/// What the loyalty system says of a card.
enum Status : int {
    RegistrationIncomplete = 0, ///< the customer has not filled in who they are: no points can be spent
    Active = 1,
    Blocked = 2,
};
} // namespace ECard

namespace EDiscountType {
/// What kind of discount it is.
enum type : int {
    None = 0,
    Bonus = 5,
};
} // namespace EDiscountType

namespace EDiscountMode {
/// What a discount's rate is.
enum type : int {
    None = 0,
    Sum = 2, ///< the rate is an amount of money, not a percentage
};
} // namespace EDiscountMode

namespace EDiscountObject {
/// What a discount is given on.
enum type : int {
    Document = 0, ///< the discount is one of the whole receipt, spread over its positions
    Position = 1,
};
} // namespace EDiscountObject

namespace EImpactSource {
/// Who gave a discount.
enum source : int {
    None = 0,
    LoyaltySystem = 2,
};
} // namespace EImpactSource
