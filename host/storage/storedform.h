#pragma once

#include "host/utils/tr.h"

#include <QByteArray>
#include <QDataStream>
#include <QList>
#include <QString>
#include <QVariant>

/// How values look on disk.
namespace storage {

/// The one encoding of values; a change of it is a change of every format that uses it.
constexpr auto storedStreamVersion = QDataStream::Qt_6_4;

/// So many lists and maps in one another at most: a value without such an end could be so deep that whoever
/// goes through it runs out of stack.
constexpr int deepestStored = 512;

/// What keeps the value from being stored. Empty: nothing; it, and all that its lists and maps
/// hold, is of the plain types of Qt and comes back as it was. A type of somebody's own may not be known any
/// more when it is read.
HOST_EXPORT tr::Tr unstorable(const QVariant& value);

/// Read what a stream of that version wrote as a QVariant or QVariantMap. A value that unstorable() would not
/// have let through makes the stream's status ReadCorruptData.
HOST_EXPORT QVariant storedValue(QDataStream& in);
HOST_EXPORT QVariantMap storedMap(QDataStream& in);

/// Reads what a stream of that version wrote as a list, without making room beforehand for as many as damaged
/// bytes may say there are.
template <class T>
QList<T> storedList(QDataStream& in)
{
    QList<T> list;
    quint32 left = 0;
    for (in >> left; left > 0 && in.status() == QDataStream::Ok; --left) {
        T value{};
        in >> value;
        list.append(value);
    }
    return list;
}

/// What kind of content a seal names, and in which version of its format.
struct Seal
{
    quint32 magic;
    quint32 version;
};

/// The content behind a head of 48 bytes, all numbers big-endian: magic (4), version (4), size of the content
/// (8), SHA-256 of the sixteen bytes before it and the content (32).
HOST_EXPORT QByteArray sealed(const Seal& seal, const QByteArray& content);

struct Unsealed
{
    enum State {
        Whole,
        Damaged, ///< cut short, too long, altered, or of another kind
        Newer,   ///< whole, but of a later version
    };
    State state;
    QByteArray content; ///< empty unless whole
};

/// Checks and opens what sealed() made; a version up to `seal.version` is accepted.
HOST_EXPORT Unsealed unsealed(const Seal& seal, const QByteArray& bytes);

} // namespace storage
