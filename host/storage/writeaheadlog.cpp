#include "host/storage/writeaheadlog.h"

#include <QByteArrayView>
#include <QFile>
#include <QtEndian>

#include <functional>
#include <utility>

using namespace Qt::StringLiterals;

namespace storage {

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
    return qFromBigEndian<quint32>(bytes.constData() + at);
}

/// SQLite's running sum, over numbers in the order of this machine's bytes, as it writes them.
class Checksum
{
public:
    void take(QByteArrayView bytes)
    {
        for (qsizetype at = 0; at + 8 <= bytes.size(); at += 8) {
            m_first += qFromUnaligned<quint32>(bytes.data() + at) + m_second;
            m_second += qFromUnaligned<quint32>(bytes.data() + at + 4) + m_first;
        }
    }
    /// Goes on from the one that is written there.
    void resume(const QByteArray& bytes, qsizetype at)
    {
        m_first = numberAt(bytes, at);
        m_second = numberAt(bytes, at + 4);
    }
    [[nodiscard]] bool isWritten(const QByteArray& bytes, qsizetype at) const
    {
        return numberAt(bytes, at) == m_first && numberAt(bytes, at + 4) == m_second;
    }

private:
    quint32 m_first = 0;
    quint32 m_second = 0;
};

struct Frame
{
    quint32 page = 0;
    quint32 pagesAfter = 0; ///< how many the file has with it; 0: it does not end a commit
    qint64 at = 0;          ///< where the page lies in the log
    bool isWhole = false;
    bool isUnbroken = false; ///< so is all before it
};

/// Each frame's sum goes on from that of the frame before it, so what is whole behind a damaged one shows.
void forEachFrame(QFile& log, int pageSize, const std::function<void(const Frame&)>& look)
{
    constexpr qsizetype sumInLog = 24;
    constexpr qsizetype sumInFrame = 16;
    constexpr qsizetype commitInFrame = 4; // not 0 in the last frame of a commit
    constexpr qsizetype summed = 8;        // of a frame's header
    const QByteArray head = log.read(logHeader);
    if (head.size() < logHeader)
        return;
    Checksum sum;
    sum.take(QByteArrayView(head).first(sumInLog));
    const bool headIsWhole = sum.isWritten(head, sumInLog);
    QByteArray current = headIsWhole ? head.sliced(saltsInLog, salts) : QByteArray();
    bool unbroken = headIsWhole;
    sum.resume(head, sumInLog);
    for (;;) {
        const QByteArray frame = log.read(frameHeader);
        const qint64 at = log.pos();
        const QByteArray page = log.read(pageSize);
        if (frame.size() < frameHeader || page.size() < pageSize)
            return;
        sum.take(QByteArrayView(frame).first(summed));
        sum.take(page);
        // Under other salts lie the frames of earlier rounds, which are in the file; they come last.
        const QByteArray own = frame.sliced(saltsInFrame, salts);
        const bool isWhole = (current.isEmpty() || own == current) && sum.isWritten(frame, sumInFrame);
        if (isWhole)
            current = own;
        unbroken = unbroken && isWhole;
        look({.page = numberAt(frame, 0),
              .pagesAfter = numberAt(frame, commitInFrame),
              .at = at,
              .isWhole = isWhole,
              .isUnbroken = unbroken});
        sum.resume(frame, sumInFrame);
    }
}

bool hidesACommit(QFile& log, int pageSize)
{
    bool found = false;
    forEachFrame(log, pageSize, [&found](const Frame& frame) {
        found = found || (frame.isWhole && !frame.isUnbroken && frame.pagesAfter != 0);
    });
    return found;
}

} // namespace

bool isLogDamaged(const QString& database)
{
    QFile log(database + u"-wal"_s);
    if (!log.open(QIODevice::ReadOnly))
        return false;
    const QByteArray before = log.read(logHeader);
    log.seek(0);
    const bool found = hidesACommit(log, headOf(database).pageSize);
    // Another program may have begun its log anew meanwhile, over what was read.
    log.seek(0);
    return found && log.read(logHeader) == before;
}

LoggedPages loggedPages(const QString& database, int pageSize)
{
    LoggedPages logged;
    QFile log(database + u"-wal"_s);
    if (!log.open(QIODevice::ReadOnly))
        return logged;
    QHash<quint32, qint64> uncommitted;
    forEachFrame(log, pageSize, [&](const Frame& frame) {
        logged.isDamaged = logged.isDamaged || (frame.pagesAfter != 0 && frame.isWhole && !frame.isUnbroken);
        if (!frame.isWhole)
            return;
        uncommitted.insert(frame.page, frame.at);
        if (frame.pagesAfter == 0)
            return;
        logged.pageCount = frame.pagesAfter;
        logged.places.insert(std::exchange(uncommitted, {}));
    });
    return logged;
}

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

} // namespace storage
