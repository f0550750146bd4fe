#pragma once

#include "till/checkout/till.h"
#include "till/scenario/scriptedfrontend.h"
#include "till/scenario/steps.h"

/// What the steps of the table do. What they throw makes the step a failed one.
namespace till::plays {

// The receipt.
Outcome openSale(const Workplace& at, const QVariantMap& members);
Outcome openReturn(const Workplace& at, const QVariantMap& members);
Outcome setPositions(const Workplace& at, const QVariantMap& members);
Outcome pay(const Workplace& at, const QVariantMap& members);
Outcome rollback(const Workplace& at, const QVariantMap& members);

// The customer.
Outcome identifyByCard(const Workplace& at, const QVariantMap& members);
Outcome identifyByPhone(const Workplace& at, const QVariantMap& members);
Outcome getCardInfo(const Workplace& at, const QVariantMap& members);

// Points.
Outcome request(const Workplace& at, const QVariantMap& members);
Outcome spendPoints(const Workplace& at, const QVariantMap& members);
Outcome cancel(const Workplace& at, const QVariantMap& members);

// The till itself.
Outcome restart(const Workplace& at, const QVariantMap& members);
Outcome deliver(const Workplace& at, const QVariantMap& members);
Outcome service(const Workplace& at, const QVariantMap& members);

/// What the operation says of itself; the screen's lines count when it went well.
Outcome outcomeOf(const Result& result, const QStringList& screen = {});

} // namespace till::plays
