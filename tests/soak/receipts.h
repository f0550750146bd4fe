#pragma once

#include <QByteArray>

namespace soaktest {

/// A scenario with so many sales of each kind that leaves something for the outgoing queue: earnings,
/// abandoned spendings, partial and whole returns, with a card and without, some of them long after the sale.
QByteArray scenarioWith(int receipts);

} // namespace soaktest
