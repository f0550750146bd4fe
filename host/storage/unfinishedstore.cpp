#include "host/storage/unfinishedstore.h"

#include "host/storage/durablefile.h"

#include <QFile>

using namespace Qt::StringLiterals;

namespace storage {

UnfinishedStore::UnfinishedStore(const QString& place, const QString& origin)
    : m_place(place)
    , m_origin(origin.isEmpty() ? place : origin)
    , m_path(newPrivateFile(place))
{
    QFile::remove(m_path); // the name is what is wanted
}

UnfinishedStore::~UnfinishedStore()
{
    for (const QString& suffix : {u""_s, u"-wal"_s, u"-shm"_s, u"-journal"_s})
        QFile::remove(m_path + suffix);
}

bool UnfinishedStore::finish() const
{
    syncFile(m_path);
    return moveToNewName(m_path, m_place);
}

BasicException UnfinishedStore::named(const BasicException& failure) const
{
    // A database that others are attached to takes their lack of room for its own.
    if (isFault(failure, StorageFault::Full))
        return storageError(StorageFault::Full, m_place);
    if (!failure.tr().ru().contains(m_path))
        return failure;
    for (const StorageFault fault : {StorageFault::Denied, StorageFault::Damaged, StorageFault::Newer,
                                     StorageFault::Locked, StorageFault::Gone, StorageFault::Strange}) {
        if (isFault(failure, fault))
            return storageError(fault, m_origin);
    }
    return storageError(StorageFault::Failed, m_origin);
}

} // namespace storage
