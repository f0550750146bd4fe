#include "host/storage/storerecord.h"

#include <QSet>
#include <QtEndian>

#include <algorithm>
#include <array>
#include <cstring>

namespace storage {

namespace {

constexpr int fileHead = 100; // before the first page's own
constexpr int leafHead = 8;
constexpr int interiorHead = 12;

/// Reads what lies one after another in some bytes, never behind their end.
class Reader
{
public:
    Reader(const QByteArray& bytes, qsizetype at)
        : m_bytes(bytes)
        , m_at(at)
    {}

    [[nodiscard]] bool failed() const { return m_failed; }
    [[nodiscard]] qsizetype at() const { return m_at; }

    quint32 number()
    {
        const QByteArray four = bytes(4);
        return m_failed ? 0 : qFromBigEndian<quint32>(four.constData());
    }

    /// Seven bits to a byte, the highest first; the ninth byte has eight.
    quint64 varint()
    {
        quint64 value = 0;
        for (int i = 0; i < 8; ++i) {
            const quint8 byte = next();
            value = value << 7U | (byte & 0x7fU);
            if (byte < 0x80)
                return value;
        }
        return value << 8U | next();
    }

    QByteArray bytes(qsizetype count)
    {
        if (m_failed || count < 0 || m_at > m_bytes.size() || count > m_bytes.size() - m_at) {
            m_failed = true;
            return {};
        }
        m_at += count;
        return m_bytes.sliced(m_at - count, count);
    }

private:
    quint8 next()
    {
        const QByteArray one = bytes(1);
        return m_failed ? quint8{0} : static_cast<quint8>(one[0]);
    }

    const QByteArray& m_bytes;
    qsizetype m_at;
    bool m_failed = false;
};

/// How long a value of that serial type is; -1: there is no such type.
qint64 lengthOf(quint64 type)
{
    static constexpr std::array<int, 12> fixed{0, 1, 2, 3, 4, 6, 8, 8, 0, 0, -1, -1};
    return type < fixed.size() ? fixed.at(type)
                               : static_cast<qint64>(std::min(type, quint64{1} << 40U) - 12) / 2;
}

/// Of one byte or more.
qint64 integer(const QByteArray& bytes)
{
    quint64 value = (static_cast<quint8>(bytes[0]) & 0x80U) != 0 ? ~quint64{0} : 0;
    for (const char byte : bytes)
        value = value << 8U | static_cast<quint8>(byte);
    return static_cast<qint64>(value);
}

/// Nothing for a text that is no UTF-8.
std::optional<QVariant> valueOf(quint64 type, const QByteArray& bytes)
{
    if (type == 0)
        return QVariant();
    if (type == 7) {
        const auto bits = static_cast<quint64>(integer(bytes));
        double value = 0;
        std::memcpy(&value, &bits, sizeof value);
        return value;
    }
    if (type < 8)
        return integer(bytes);
    if (type < 10)
        return static_cast<qint64>(type - 8);
    if (type % 2 == 0)
        return bytes;
    const QString text = bytes.isEmpty() ? QStringLiteral("") : QString::fromUtf8(bytes);
    return text.toUtf8() == bytes ? std::optional<QVariant>(text) : std::nullopt;
}

/// True when the record is whole; else what could be told of it is in `values`.
bool readRecord(const QByteArray& record, bool isComplete, QVariantList& values)
{
    Reader head(record, 0);
    const quint64 headLength = head.varint();
    if (head.failed() || headLength > static_cast<quint64>(record.size()))
        return false;
    QList<quint64> types;
    while (!head.failed() && head.at() < static_cast<qsizetype>(headLength))
        types.append(head.varint());
    if (head.failed() || head.at() != static_cast<qsizetype>(headLength))
        return false;
    Reader body(record, head.at());
    for (const quint64 type : types) {
        const qint64 length = lengthOf(type);
        const QByteArray bytes = body.bytes(length);
        const auto value = body.failed() ? std::nullopt : valueOf(type, bytes);
        if (!value)
            return false;
        values.append(*value);
    }
    return isComplete && body.at() == record.size();
}

/// How much of it lies in the page itself.
qint64 localSize(quint64 size, int usable, bool isTable)
{
    const int most = isTable ? usable - 35 : (usable - 12) * 64 / 255 - 23;
    if (size <= static_cast<quint64>(most))
        return static_cast<qint64>(size);
    const int least = (usable - 12) * 32 / 255 - 23;
    const auto kept = static_cast<qint64>(static_cast<quint64>(least) + (size - static_cast<quint64>(least)) %
                                                                            static_cast<quint64>(usable - 4));
    return kept <= most ? kept : least;
}

/// What lies in the chain of pages that begins there; less when it ends too early or goes on behind its end.
QByteArray chained(StorePages& pages, quint32 first, qint64 size, QList<quint32>& passed)
{
    QByteArray content;
    quint32 next = first;
    while (content.size() < size) {
        const QByteArray page = pages.page(next);
        if (page.size() < 4 || passed.contains(next))
            return {};
        const QByteArray part = page.sliced(4, std::min<qsizetype>(page.size() - 4, size - content.size()));
        if (part.count('\0') == part.size()) // a page that was lost; nothing that is kept looks so
            return {};
        passed.append(next);
        content += part;
        next = qFromBigEndian<quint32>(page.constData());
    }
    return next == 0 ? content : QByteArray();
}

/// The content of the cell whose size was read and of which the rest follows; shorter when it isn't whole.
QByteArray payload(StorePages& pages, Reader& cell, quint64 size, bool isTable, QList<quint32>& overflow)
{
    const quint64 most = quint64{pages.count()} * static_cast<quint64>(pages.size());
    if (size > most)
        return {};
    const qint64 local = localSize(size, pages.size(), isTable);
    QByteArray content = cell.bytes(local);
    if (!cell.failed() && static_cast<quint64>(local) < size) {
        const quint32 first = cell.number();
        if (!cell.failed())
            content += chained(pages, first, static_cast<qint64>(size) - local, overflow);
    }
    return content;
}

} // namespace

std::optional<TreePage> treePage(StorePages& pages, quint32 number)
{
    TreePage page{.bytes = pages.page(number), .cells = {}};
    const int start = number == 1 ? fileHead : 0;
    if (page.bytes.size() < start + interiorHead)
        return std::nullopt;
    page.kind = static_cast<PageKind>(static_cast<quint8>(page.bytes[start]));
    const bool isLeaf = page.kind == PageKind::TableLeaf || page.kind == PageKind::IndexLeaf;
    if (!isLeaf && page.kind != PageKind::TableInterior && page.kind != PageKind::IndexInterior)
        return std::nullopt;
    Reader head(page.bytes, start + 3);
    const int count = qFromBigEndian<quint16>(head.bytes(2).constData());
    if (!isLeaf)
        page.rightmost = qFromBigEndian<quint32>(page.bytes.constData() + start + leafHead);
    const int first = start + (isLeaf ? leafHead : interiorHead);
    Reader places(page.bytes, first);
    const qsizetype content = first + qsizetype{count} * 2;
    if (content > pages.size())
        return std::nullopt;
    for (int i = 0; i < count; ++i) {
        const QByteArray two = places.bytes(2);
        const int at = places.failed() ? 0 : qFromBigEndian<quint16>(two.constData());
        page.cells.append(at >= content && at < page.bytes.size() ? at : 0);
    }
    return page;
}

StoredRow storedRow(StorePages& pages, const TreePage& leaf, int at)
{
    StoredRow row;
    if (at == 0)
        return row;
    Reader cell(leaf.bytes, at);
    const quint64 size = cell.varint();
    const auto rowid = static_cast<qint64>(cell.varint());
    if (cell.failed())
        return row;
    row.rowid = rowid;
    const QByteArray content = payload(pages, cell, size, true, row.overflow);
    row.isWhole = readRecord(content, static_cast<quint64>(content.size()) == size, row.values);
    return row;
}

QList<quint32> overflowOfEntry(StorePages& pages, const TreePage& page, int at)
{
    QList<quint32> overflow;
    Reader cell(page.bytes, at + (page.kind == PageKind::IndexInterior ? 4 : 0));
    const quint64 size = cell.varint();
    if (at != 0 && !cell.failed())
        payload(pages, cell, size, false, overflow);
    return overflow;
}

std::optional<Child> childAt(const TreePage& interior, int at)
{
    Reader cell(interior.bytes, at);
    Child child{.page = cell.number(), .last = {}};
    if (interior.kind == PageKind::TableInterior)
        child.last = static_cast<qint64>(cell.varint());
    return at == 0 || cell.failed() ? std::nullopt : std::optional(child);
}

} // namespace storage
