#pragma once

#include <QStringList>

#include <vector>

/// Each of 200 tills at their busiest closes a receipt every half a minute, and puts in a message for it.
constexpr double busiestShop = 200.0 / 30;
/// How many times that has to be carried, on a machine that is database, tills, deliveries and service.
constexpr double reserve = 5;

/// Receipts that so many tills move on to one database at once, without a standby and, where that is asked
/// for, in turns with one; prints a table. `receipts` are those of each row, over its tills. False when a row
/// has not the reserve.
[[nodiscard]] bool measureMoving(const QList<int>& tills, int receipts, int rounds, int months,
                                 bool withStandby);
/// Such a till, in a process of its own.
int beTill(const QStringList& arguments);

/// Messages that so many deliveries deliver beside each other, to a service that takes so long to answer.
/// False when a row has not the reserve. Ends the program when one does not come once, or not in the order of
/// its receipt.
[[nodiscard]] bool measureDelivery(const QList<int>& deliveries, int messages, int rounds, int months,
                                   int milliseconds);
/// Such a delivery, in a process of its own.
int beDelivery(const QStringList& arguments);

/// How long a sale and its returns are looked for among `receipts`, as a multiple of what it takes among
/// few. False when that is more than the bound.
[[nodiscard]] bool measureLookup(qint64 receipts, const QList<int>& months);

[[nodiscard]] double median(std::vector<double> values);
