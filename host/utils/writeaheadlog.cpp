#include "host/utils/writeaheadlog.h"

#include <QFile>
#include <QtEndian>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace utils {

namespace {

// SQLite's documented format: a header, then frames of a header and one page each, all numbers big-endian.
constexpr qsizetype logHeader = 32;
constexpr qsizetype frameHeader = 24;
constexpr qsizetype saltsInLog = 16;
constexpr qsizetype saltsInFrame = 8;
constexpr qsizetype salts = 8;
constexpr qsizetype versionInPage = 60; // of the first page
constexpr qsizetype idInPage = 68;
constexpr qsizetype pageSizeInPage = 16;
constexpr qsizetype fileHeader = 100;
constexpr quint32 longestPage = 65536;

quint32 numberAt(const QByteArray& bytes, qsizetype at)
{
    return at + 4 <= bytes.size() ? qFromBigEndian<quint32>(bytes.constData() + at) : 0;
}

} // namespace

DatabaseHead headOf(const QString& database)
{
    QFile file(database);
    if (!file.open(QIODevice::ReadOnly))
        return {};
    const QByteArray head = file.read(fileHeader);
    if (head.size() < fileHeader || !head.startsWith("SQLite format 3"))
        return {};
    const auto pageSize = qFromBigEndian<quint16>(head.constData() + pageSizeInPage);
    return {.version = static_cast<int>(numberAt(head, versionInPage)),
            .applicationId = static_cast<int>(numberAt(head, idInPage)),
            .pageSize = pageSize == 1 ? static_cast<int>(longestPage) : pageSize};
}

int versionInLog(const QString& database, int applicationId)
{
    QFile log(database + u"-wal"_s);
    if (!log.open(QIODevice::ReadOnly))
        return 0;
    const QByteArray head = log.read(logHeader);
    const quint32 pageSize = numberAt(head, 8);
    if (head.size() < logHeader || pageSize < 512 || pageSize > longestPage)
        return 0;
    int newest = 0;
    const QByteArray current = head.sliced(saltsInLog, salts);
    for (;;) {
        const QByteArray frame = log.read(frameHeader);
        // Behind the last frame lie those of earlier rounds, under other salts.
        if (frame.size() < frameHeader || frame.sliced(saltsInFrame, salts) != current)
            return newest;
        if (numberAt(frame, 0) != 1) {
            log.seek(log.pos() + pageSize);
            continue;
        }
        const QByteArray page = log.read(pageSize);
        if (numberAt(page, idInPage) == static_cast<quint32>(applicationId))
            newest = std::max(newest, static_cast<int>(numberAt(page, versionInPage)));
    }
}

} // namespace utils
