#pragma once

#include "host/core/dialog.h"
#include "till/checkout/results.h"

#include <QStringList>

/// What the cashier's screen shows, as lines of text in its language.
namespace till::screen {

/// Positions, discounts and sums, in columns.
QStringList receipt(const AbstractDocument& document);

/// What the customer paid or gets back, and what they earned.
QStringList payment(const Payment& payment);

/// How many messages went to the service.
QString delivered(int messages);

/// That the receipt is no more.
QString abandoned(const QString& identifier);

/// Whose card it is, its status when it is not active, and its balance.
QStringList customer(const DocumentCardRecord& record);

/// The list with card and phone numbers masked, and still told apart.
ChoiceRequest masked(const ChoiceRequest& request);

/// "1 234,50"; of what has no hundredths the plain number, "1e+300".
QString amount(double value);

/// "2" or "0,352".
QString quantity(double value);

} // namespace till::screen
