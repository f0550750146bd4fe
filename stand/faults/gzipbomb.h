#pragma once

#include <QByteArray>

namespace stand {

/// A gzip stream in three parts, of which the middle one is sent `repeats` times.
struct GzipBomb
{
    QByteArray begin;
    QByteArray filler;
    qint64 repeats = 0;
    QByteArray end;

    [[nodiscard]] qint64 size() const { return begin.size() + filler.size() * repeats + end.size(); }
};

/// Unpacks to `text` and blanks behind it, `unpacked` bytes in all and rounded up to a whole MiB of blanks.
[[nodiscard]] GzipBomb gzipBomb(const QByteArray& text, qint64 unpacked);

} // namespace stand
