#pragma once

#include "till/audit/reconciliation.h"
#include "till/audit/records.h"

namespace till {

/// The receipt as the records have it: closed and stored, open, or neither.
BookedReceipt bookedReceipt(const QString& identifier, Records& records);

} // namespace till
