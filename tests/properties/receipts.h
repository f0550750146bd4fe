#pragma once

#include "host/core/document.h"

#include <rapidcheck.h>

namespace properties {

/// Any text, half characters among it.
rc::Gen<QString> texts();
/// Any value that is stored: also lists and maps of them.
rc::Gen<QVariant> storedValues();
/// Any receipt that can be stored, however little sense it makes.
rc::Gen<QSharedPointer<Document>> receipts();

/// A receipt as it is sold: at least one position, prices of hundredths and quantities of thousandths, a
/// discount here and there.
rc::Gen<QSharedPointer<Document>> soldReceipts();

} // namespace properties
