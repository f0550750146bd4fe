#pragma once

#include <QHash>
#include <QString>

namespace storage {

/// What a database file itself says, its log left aside.
struct DatabaseHead
{
    int version = 0;
    int applicationId = 0;
    int pageSize = 4096;
};

/// Read without SQLite: in the middle of folding the log in, which a kill may have cut short, the file alone
/// makes no sense to it. A file without a head says what an empty one does.
DatabaseHead headOf(const QString& database);

/// True when a whole commit lies in the log behind something that is not as SQLite wrote it: at the next
/// opening SQLite takes the log up to there only. A log that was cut short, or damaged at its very end, looks
/// like one whose last commit was never finished. Not for a log that this process has open.
bool isLogDamaged(const QString& database);

/// What the log holds of the pages.
struct LoggedPages
{
    QHash<quint32, qint64> places; ///< of each page's newest whole one that was committed, in the log
    quint32 pageCount = 0;         ///< of the file, with the last commit; 0: there is none
    bool isDamaged = false;        ///< as isLogDamaged() says
};

/// Also what SQLite would not take, because it lies behind something damaged. Nothing when there is no log.
LoggedPages loggedPages(const QString& database, int pageSize);

} // namespace storage
