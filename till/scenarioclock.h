#pragma once

#include <QDateTime>

#include <chrono>

namespace till {

/// The host's clock while scenarios are played: a day passes in a moment there, but the service tells
/// receipts apart by the second. Starts at the real time and goes only when it is told to. One at a time.
class ScenarioClock
{
public:
    ScenarioClock();
    ~ScenarioClock();
    ScenarioClock(const ScenarioClock&) = delete;
    ScenarioClock& operator=(const ScenarioClock&) = delete;

    void advance(std::chrono::seconds time) { m_now = m_now.addSecs(time.count()); }

private:
    QDateTime m_now;
};

} // namespace till
