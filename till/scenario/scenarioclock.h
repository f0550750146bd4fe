#pragma once

#include <QDateTime>
#include <QString>

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

    /// Goes on where the clock of an earlier run stopped that was kept in that file, when that lies ahead:
    /// the service must not meet a second twice. Nothing happens when there is no such file.
    void goOnFrom(const QString& fileName);
    /// Throws BasicException when the file can't be written.
    void keepIn(const QString& fileName) const;

    void advance(std::chrono::seconds time) { m_now = m_now.addSecs(time.count()); }

private:
    QDateTime m_now;
};

} // namespace till
