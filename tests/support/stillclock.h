#pragma once

#include "host/utils/currenttime.h"
#include "host/utils/utc.h"

#include <atomic>
#include <chrono>

namespace test_support {

/// The host's clock while it lives, in every thread: stands still until it is moved, or ticks at each
/// reading.
class StillClock
{
public:
    explicit StillClock(const QDateTime& start = QDateTime::fromString(QStringLiteral("2026-03-02T09:00:00Z"),
                                                                       Qt::ISODate))
        : m_milliseconds(start.toMSecsSinceEpoch())
    {
        MockFactory<CurrentTime>::mocked = [this] { return QSharedPointer<CurrentTime>(new Reader(*this)); };
    }
    ~StillClock() { MockFactory<CurrentTime>::mocked = nullptr; }
    StillClock(const StillClock&) = delete;
    StillClock& operator=(const StillClock&) = delete;

    /// In UTC.
    [[nodiscard]] QDateTime now() const { return utils::utcFromMilliseconds(m_milliseconds); }
    void move(std::chrono::milliseconds by) { m_milliseconds += by.count(); }
    void moveTo(const QDateTime& time) { m_milliseconds = time.toMSecsSinceEpoch(); }
    /// From now on it goes on by so much after each reading.
    void setTick(std::chrono::milliseconds tick) { m_tick = tick.count(); }

private:
    class Reader : public CurrentTime
    {
    public:
        explicit Reader(StillClock& clock)
            : m_clock(clock)
        {}
        [[nodiscard]] QDateTime currentDateTime() const override
        {
            return QDateTime::fromMSecsSinceEpoch(m_clock.m_milliseconds.fetch_add(m_clock.m_tick));
        }

    private:
        StillClock& m_clock;
    };

    std::atomic<qint64> m_milliseconds;
    std::atomic<qint64> m_tick = 0;
};

} // namespace test_support
