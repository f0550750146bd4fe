#include "host/storage/store.h"

#include "host/storage/storageerror.h"
#include "host/storage/storeschema.h"

#include <QHash>

#include <mutex>

namespace storage {

namespace {

/// Which file each store of this process is, by its path.
struct KnownStores
{
    std::mutex mutex;
    QHash<QString, FileIdentity> files;

    void require(const QString& path, const std::optional<FileIdentity>& found) const
    {
        if (files.contains(path) && files[path] != found)
            throw storageError(StorageFault::Gone, path);
    }
};

KnownStores& knownStores()
{
    static KnownStores known;
    return known;
}

} // namespace

std::shared_ptr<Database> store()
{
    thread_local std::weak_ptr<Database> shared;
    auto current = shared.lock();
    // What failed inside a transaction must not go on outside it.
    if (current && current->isInTransaction())
        return current;
    const QString path = storePath();
    if (current && current->isSound() && current->path() == path)
        return current;
    const std::lock_guard lock(knownStores().mutex);
    knownStores().require(path, identityOf(path));
    auto made = std::make_shared<Database>(path, storeFormat());
    knownStores().require(path, made->identity()); // somebody may just have been quicker
    knownStores().files.insert(path, made->identity());
    shared = made;
    return made;
}

void requireSameStore()
{
    const QString path = storePath();
    const std::lock_guard lock(knownStores().mutex);
    knownStores().require(path, identityOf(path));
}

void forgetStore()
{
    const std::lock_guard lock(knownStores().mutex);
    knownStores().files.remove(storePath());
}

Transaction::Transaction()
    : m_store(store())
{
    m_store->begin();
}

Transaction::~Transaction()
{
    if (m_store)
        m_store->rollback();
}

void Transaction::commit()
{
    m_store->commit();
    m_store.reset();
}

} // namespace storage
