#include "host/utils/store.h"

#include "host/utils/datadirectory.h"
#include "host/utils/storeschema.h"

namespace utils {

std::shared_ptr<Database> store()
{
    thread_local std::weak_ptr<Database> shared;
    auto current = shared.lock();
    // What failed inside a transaction must not go on outside it.
    if (current && current->isInTransaction())
        return current;
    const QString path = dataFile(QString::fromLatin1(storeName));
    if (current && current->isSound() && current->path() == path)
        return current;
    auto made = std::make_shared<Database>(path, storeFormat());
    shared = made;
    return made;
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

} // namespace utils
