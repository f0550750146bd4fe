#include "stand/faults/gzipbomb.h"

#include <QtEndian>

#include <algorithm>
#include <stdexcept>

#include <zlib.h>

namespace stand {

namespace {

constexpr qint64 blanksSize = qint64(1) << 20;

Bytef* bytesOf(QByteArray& array) { return reinterpret_cast<Bytef*>(array.data()); }

const Bytef* bytesOf(const QByteArray& array) { return reinterpret_cast<const Bytef*>(array.constData()); }

/// A part of a deflate stream that refers to nothing before it and ends on a whole byte.
QByteArray part(QByteArray text)
{
    z_stream stream{};
    constexpr int withoutHeader = -15;
    constexpr int memory = 9;
    if (deflateInit2(&stream, Z_BEST_COMPRESSION, Z_DEFLATED, withoutHeader, memory, Z_DEFAULT_STRATEGY) !=
        Z_OK)
        throw std::runtime_error("zlib cannot compress");
    constexpr qsizetype room = 64; // for the marks of the flush
    QByteArray packed(static_cast<qsizetype>(deflateBound(&stream, static_cast<uLong>(text.size()))) + room,
                      '\0');
    stream.next_in = bytesOf(text);
    stream.avail_in = static_cast<uInt>(text.size());
    stream.next_out = bytesOf(packed);
    stream.avail_out = static_cast<uInt>(packed.size());
    deflate(&stream, Z_FULL_FLUSH);
    packed.truncate(static_cast<qsizetype>(stream.total_out));
    deflateEnd(&stream);
    return packed;
}

uLong checksum(const QByteArray& text) { return crc32(0, bytesOf(text), static_cast<uInt>(text.size())); }

QByteArray littleEndian(uLong value)
{
    QByteArray bytes(4, '\0');
    qToLittleEndian(static_cast<quint32>(value), bytes.data());
    return bytes;
}

} // namespace

GzipBomb gzipBomb(const QByteArray& text, qint64 unpacked)
{
    const QByteArray blanks(blanksSize, ' ');
    GzipBomb bomb;
    bomb.repeats = std::max((unpacked - text.size() + blanksSize - 1) / blanksSize, qint64(0));
    bomb.begin = QByteArray::fromHex("1f8b08000000000000ff") + part(text);
    bomb.filler = part(blanks);
    auto sum = checksum(text);
    const auto sumOfBlanks = checksum(blanks);
    for (qint64 i = 0; i < bomb.repeats; ++i)
        sum = crc32_combine(sum, sumOfBlanks, blanksSize);
    const auto size = static_cast<uLong>(text.size() + bomb.repeats * blanksSize);
    const auto lastBlock = QByteArray::fromHex("010000ffff"); // stored, empty
    bomb.end = lastBlock + littleEndian(sum) + littleEndian(size);
    return bomb;
}

} // namespace stand
