#include "till/setup/keeping.h"

#include "till/setup/settingkeys.h"

namespace till {

storage::KeepingTimes keepingTimesOf(const Config& config)
{
    constexpr int usualReceipts = 400; // a year of warranty, and some weeks more
    constexpr int usualJournal = 90;
    return {.receipts = config.getInt(keys::keepDays, usualReceipts),
            .journal = config.getInt(keys::keepJournalDays, usualJournal)};
}

} // namespace till
