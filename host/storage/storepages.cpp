#include "host/storage/storepages.h"

#include "host/storage/durablefile.h"
#include "host/storage/storageerror.h"
#include "host/storage/writeaheadlog.h"

#include <QtEndian>

#include <algorithm>
#include <bit>
#include <cerrno>

using namespace Qt::StringLiterals;

namespace storage {

namespace {

constexpr int usualSize = 4096; // SQLite's own default, which every store has
constexpr int leastSize = 512;

/// How many of the first pages of that size begin as the leaf of a table does.
int leavesOfSize(QFile& file, int size)
{
    constexpr int looked = 100;
    constexpr char tableLeaf = 13;
    int found = 0;
    for (int number = 0; number < looked; ++number) {
        file.seek(qint64{number} * size); // also behind its end
        const QByteArray head = file.read(8);
        const int content = head.size() < 8 ? 0 : qFromBigEndian<quint16>(head.constData() + 5);
        found += head.startsWith(tableLeaf) && content >= 8 && content < size ? 1 : 0;
    }
    return found;
}

/// A header that is damaged may say anything.
int pageSizeOf(QFile& file, int said)
{
    const bool isPossible = said >= leastSize && std::has_single_bit(static_cast<unsigned>(said));
    return isPossible && leavesOfSize(file, said) > leavesOfSize(file, usualSize) ? said : usualSize;
}

/// Never opens anything but a plain file. False when there is none.
bool openForReading(QFile& file, const QString& path)
{
    const int opened = openPlainFile(path);
    if (opened < 0 && errno != ENOENT)
        throw systemError(errno, path);
    if (opened < 0)
        return false;
    // What is open already is no more than taken over.
    static_cast<void>(file.open(opened, QIODevice::ReadOnly, QFileDevice::AutoCloseHandle));
    return true;
}

} // namespace

StorePages::StorePages(const QString& file)
{
    if (!openForReading(m_file, file))
        throw systemError(ENOENT, file);
    m_size = pageSizeOf(m_file, headOf(file).pageSize);
    m_count = static_cast<quint32>((m_file.size() + m_size - 1) / m_size);
    if (openForReading(m_log, file + u"-wal"_s)) {
        const LoggedPages logged = loggedPages(file, m_size);
        m_logged = logged.places;
        m_isLogDamaged = logged.isDamaged;
        m_count = std::max(m_count, logged.pageCount);
    }
    // The header's count holds for the file that it was last written with.
    constexpr qsizetype changed = 24;
    constexpr qsizetype pages = 28;
    constexpr qsizetype countedAt = 92;
    constexpr quint32 believable = 1U << 20;
    const QByteArray head = page(1);
    if (head.size() < countedAt + 4)
        return;
    const auto numberAt = [&head](qsizetype at) { return qFromBigEndian<quint32>(head.constData() + at); };
    if (numberAt(changed) == numberAt(countedAt) && numberAt(pages) - m_count < believable)
        m_count = numberAt(pages);
}

QByteArray StorePages::page(quint32 number)
{
    if (number == 0)
        return {};
    const qint64 logged = written(number);
    QFile& file = logged > 0 ? m_log : m_file;
    file.seek(logged > 0 ? logged : qint64{number - 1} * m_size); // also behind its end
    return file.read(m_size);
}

} // namespace storage
