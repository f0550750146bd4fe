#pragma once

#include "host/utils/currenttime.h"

/// A clock that always shows the same moment.
class StandingTime : public CurrentTime
{
public:
    explicit StandingTime(const QDateTime& time)
        : m_time(time)
    {}
    [[nodiscard]] QDateTime currentDateTime() const override { return m_time; }

private:
    QDateTime m_time;
};
