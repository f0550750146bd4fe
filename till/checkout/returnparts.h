#pragma once

#include "host/core/document.h"

#include <QList>
#include <QSharedPointer>

#include <cstdint>

namespace till {

/// What of a sold position comes back, or came back before: thousandths of a unit, hundredths of money.
struct ReturnedPart
{
    std::int64_t thousandths = 0;
    std::int64_t sum = 0; ///< what was paid for it
    std::int64_t discount = 0;
    std::int64_t bonusDiscount = 0;
};

/// What of the position came back with these returns of its sale. Throws BasicException, in Russian for
/// the cashier, when a return has no thousandths or hundredths to be counted in.
ReturnedPart returnedBefore(int posnum, const QList<QSharedPointer<AbstractDocument>>& returns);

/// The position of a return that takes so much of the sold one back, after what came back before. Money and
/// each discount are the cut of the whole up to there, less what went before: so the parts add up to the
/// whole, and the last takes what is left over. The loyalty service cuts what it restores in the same way.
/// Throws as returnedBefore(), also when so much can't come back.
QSharedPointer<GoodsItem> returnPart(const GoodsItem& sold, double quantity, const ReturnedPart& before);

/// Whether both take back the same of one position.
bool isSameReturn(const GoodsItem& one, const GoodsItem& other);
/// Whether both take back the same of the same sale.
bool isSameReturn(const AbstractDocument& one, const AbstractDocument& other);

/// Whether a return of that number and content is closed where all tills see it, though this till's store
/// does not know: it died before that.
bool wasClosedElsewhere(const Document& receipt);

} // namespace till
