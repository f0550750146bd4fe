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
    int rival = -1;       ///< the return that wants the same goods at the same time; one of both is closed
};

/// What the plan says of either of two rivals, whichever it was.
QString withoutRivals(QString text);

/// All receipts of a day; each till plays its own in this order. The same for the same seed.
QList<Receipt> planOf(int tills, int salesOfEach, quint32 seed);

} // namespace shopday
