#pragma once

#include "client/compactjson.h"
#include "host/core/abstractdocument.h"

#include <QDateTime>
#include <QSharedPointer>
#include <QString>

#include <vector>

/// What the operations on a receipt share.
namespace receipt {

/// The session's current document; throws KyrLoyaltyException when there is none.
QSharedPointer<AbstractDocument> current();

/// The document's record of this system's card; throws KyrLoyaltyException when it has none.
QSharedPointer<DocumentCardRecord> cardRecord(const AbstractDocument& document);

/// The shop code that the service knows this shop by.
QString shopCode();

/// The clock's time, and the same as the service writes it: decimal seconds since 1970.
QDateTime now();
QString nowInSeconds();

/// A receipt number for an operation: the clock's seconds, of which the service takes 32 bits, plus `offset`.
QString operationNumber(const QDateTime& time, unsigned offset);

/// Half of a hundredth of the unit of money: what is below it counts as none.
inline constexpr double leastMoney = 0.005;

/// Whether an amount of money counts as none, either way.
bool isZero(double money);

/// Whether the service is told of the position: it costs something, or would without its bonus discount.
bool isListed(const GoodsItem& item);

/// The listed positions of a receipt, in its order, and the plain sum of what they cost.
struct Listing
{
    std::vector<json::Object> positions;
    double amount = 0;
};

/// With `addBonusImpact` the positions cost what they did before their bonus discount.
Listing listing(const AbstractDocument& document, bool addBonusImpact);

/// One position as the service expects it, with that quantity and sum.
json::Object position(const GoodsItem& item, double quantity, double sum);

/// An amount of points as the service expects it: a text with two decimals.
QString points(double amount);

} // namespace receipt
