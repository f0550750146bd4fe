#pragma once

#include "tests/support/steps.h"

#include <QList>
#include <QString>

namespace shopday {

/// One receipt, from its opening to its end, at one till.
struct Receipt
{
    int till;
    QString identifier;
    story::Steps steps;
    bool isClosed = true; ///< false: it is given up
    int after = -1;       ///< the sale, or the return, that has to be closed before; an index into the plan
};

/// All receipts of a day; each till plays its own in this order. The same for the same seed.
QList<Receipt> planOf(int tills, int salesOfEach, quint32 seed);

} // namespace shopday
