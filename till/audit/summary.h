#pragma once

#include <QString>
#include <QStringList>

#include <cstdint>
#include <optional>

namespace till {

class Till;

/// What a scenario came to. Amounts are hundredths of a point.
struct Summary
{
    QString fileName = {};
    int receipts = 0;        ///< closed
    std::int64_t spent = 0;  ///< by bonus discounts of sales, less those of returns
    std::int64_t earned = 0; ///< by sales: as the plug-in told, as the ledger says of what was sent later
    int queued = 0;          ///< all messages that were put into the queue
    int delivered = 0;
    int waiting = 0;
    int parked = 0;
    /// Where the stand's books differ from the till's receipts, in English; nothing when nobody could compare
    /// them, because the service is not the till's own stand.
    std::optional<QStringList> differences = {};
    QStringList alarms = {}; ///< what the cashier is told of the queue
};

/// Takes stock at the end of a scenario; starts the till's own stand to ask it when it is stopped. Throws
/// UsageError when it can't be asked, BasicException when what is stored can't be read.
Summary summaryOf(Till& till);

} // namespace till
