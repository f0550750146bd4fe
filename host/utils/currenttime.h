#pragma once

#include "host/utils/export.h"
#include "host/utils/mockfactory.h"

#include <QDateTime>

/// The host's clock; obtained through MockFactory, so that a test can set the time.
class HOST_EXPORT CurrentTime
{
public:
    virtual ~CurrentTime();
    /// Now, in local time, to the millisecond.
    [[nodiscard]] virtual QDateTime currentDateTime() const;
};

extern template class HOST_EXPORT MockFactory<CurrentTime>;
