#pragma once

#include "host/utils/export.h"

#include <QString>

namespace storage {

/// For how many days what is over is kept; 0: for ever.
struct KeepingTimes
{
    int receipts = 0; ///< closed ones, with the journal and the queue's history of them
    int journal = 0;  ///< the journal and the queue's history
};

/// Removes what has been kept for its time from this thread's store, in steps so small that whoever writes
/// there meanwhile does not notice, and gives the room back to the disk. Once a day it goes through all of
/// it. What is still needed stays: see Need.
///
/// A clock that went ahead must not make everything old. So where it went ahead by more than the shorter of
/// the two times since it was last looked at, or a month at most and three days at least, nothing is removed
/// for as long again, or until it is put right. A till that was off for so long waits as well.
class HOST_EXPORT Retention
{
public:
    explicit Retention(const KeepingTimes& times);

    /// Takes the next step: a commit of some hundred rows at most. True: there is more to do. False: not
    /// before the next day, or, after a failure, which is told in the log, not before some minutes have gone.
    bool step();

private:
    enum class Stage {
        Resting,
        Receipts,
        Journal,
        History,
        Folding,   ///< of the log into the file
        Shrinking, ///< of the file
    };
    void advance();
    void begin();
    void rest(qint64 milliseconds);
    [[nodiscard]] bool isBelieved() const;
    void removeReceipts();
    /// Of the journal or the history.
    void removeEvents(const QString& table, const QString& time, Stage next);
    void fold();
    void shrink();

    KeepingTimes m_times;
    Stage m_stage = Stage::Resting;
    qint64 m_restsFrom = 0; ///< in milliseconds since 1970, like all times here
    qint64 m_restsUntil = 0;
    qint64 m_now = 0;         ///< when this round began
    qint64 m_lastTime = 0;    ///< of the receipt that was looked at last
    qint64 m_lastRow = 0;     ///< of the present table, that was looked at last
    bool m_isLogFull = false; ///< of what was removed
    int m_receipts = 0;       ///< removed in this round
    int m_events = 0;
};

} // namespace storage
