#pragma once

#include "host/utils/export.h"

#include <memory>

namespace storage {

class Database;

/// Everything that this thread changes in the store between construction and commit() is one commit; without
/// commit() nothing of it was done. Other threads and programs wait for it to write, so no exchange with the
/// service belongs inside. One inside another is undone by itself, but kept only with the outer one.
/// Database::atomically() inside it joins it. Once something inside has failed, further changes and commit()
/// throw, even when the failure was caught.
class HOST_EXPORT Transaction
{
public:
    Transaction();
    ~Transaction();
    Transaction(const Transaction&) = delete;
    Transaction& operator=(const Transaction&) = delete;

    /// Durable on return, or with the outer one. When it throws, nothing was done.
    void commit();

private:
    std::shared_ptr<Database> m_store;
};

} // namespace storage
