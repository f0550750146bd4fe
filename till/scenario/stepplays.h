#pragma once

#include "till/checkout/amounts.h"
#include "till/checkout/till.h"
#include "till/scenario/steps.h"

/// What the steps of the table do. All of them may throw std::exception; the step then failed.
namespace till::plays {

// The customer.
Outcome identifyByCard(Till& till, const QVariantMap& members);
Outcome identifyByPhone(Till& till, const QVariantMap& members);
Outcome getCardInfo(Till& till, const QVariantMap& members);

// Opening a receipt.
Outcome openSale(Till& till, const QVariantMap& members);
Outcome openReturn(Till& till, const QVariantMap& members);
Outcome setPositions(Till& till, const QVariantMap& members);

// Points, and the end of a receipt.
Outcome request(Till& till, const QVariantMap& members);
Outcome spendPoints(Till& till, const QVariantMap& members);
Outcome cancel(Till& till, const QVariantMap& members);
Outcome rollback(Till& till, const QVariantMap& members);
Outcome pay(Till& till, const QVariantMap& members);

// The till itself.
Outcome restart(Till& till, const QVariantMap& members);
Outcome deliver(Till& till, const QVariantMap& members);
Outcome service(Till& till, const QVariantMap& members);

/// The return that openReturn would open, not opened yet; throws as that does.
QSharedPointer<Document> returnOf(const Till& till, const QVariantMap& members);
/// Adds the positions of a step, numbered from 1; throws as requireAmounts() does.
void addPositions(Document& receipt, const QVariantList& positions);
/// The current receipt; throws when there is none.
QSharedPointer<Document> receiptOf(const Till& till);
/// The card on the current receipt; throws when there is none.
QSharedPointer<DocumentCardRecord> cardOf(const Till& till);
/// Throws, naming the ways out, when the current receipt can only be paid or only be rolled back, or when the
/// outcome of a spending on it is not known; then neither its card nor its points may change.
void requireChangeable(const Till& till);
/// A failure of the plug-in's, in its own words.
Outcome failed(const BasicLoyaltySystem& loyalty, const QVariant& value = {});

} // namespace till::plays
