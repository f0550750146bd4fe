#pragma once

#include "host/utils/export.h"

#include <QDateTime>
#include <QString>

/// Points earned on a document, or on one position of it. A value; a fresh one says nothing yet.
struct HOST_EXPORT DocumentBonusRecord
{
    QString cardNumber;  ///< whose points they are
    double amount = 0;   ///< points in money, on hundredths once distributed
    int code = 0;        ///< the kind of record; 1200 is a loyalty system's bonus
    QDateTime dateTime;  ///< when they were earned
    QString sessionText; ///< where it was earned: the shop code
    int position = 0;    ///< the position's number; 0 is the whole document

    /// Equal in every member.
    bool operator==(const DocumentBonusRecord&) const = default;
};
