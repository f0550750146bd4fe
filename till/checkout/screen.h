#pragma once

#include "host/core/document.h"

#include <QString>
#include <QStringList>

/// What the cashier's screen shows, as lines of text in Russian.
namespace till::screen {

/// Positions, discounts and sums, in columns.
QStringList receipt(const AbstractDocument& document);

/// What the customer paid or gets back.
QString closing(const AbstractDocument& document);

/// Whose card it is, its status when it is not active, and its balance.
QStringList customer(const DocumentCardRecord& record);

/// "1 234,50"; of what has no hundredths the plain number, "1e+300".
QString amount(double value);

/// "2" or "0,352".
QString quantity(double value);

} // namespace till::screen
