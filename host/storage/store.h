#pragma once

#include "host/storage/database.h"
#include "host/storage/transaction.h"

#include <memory>
#include <utility>

namespace storage {

/// This thread's connection to the data directory's `till.sqlite`: receipts, the open one too, outgoing queue
/// and journal. It is opened by the first user and closed with the last. After a failure that a new
/// connection may not meet, the next call opens one. Throws BasicException when the file can't be used, also
/// when it is not the one that this process has used before: whoever begins a new one loses what is in the
/// other unnoticed.
HOST_EXPORT std::shared_ptr<Database> store();

/// Throws when the store that this process has used is not there any more, as store() does.
void requireSameStore();
/// The store was set aside, and that is told: the next one may be another.
HOST_EXPORT void forgetStore();

/// What lives on the store's connection, such as a MessageQueue: made when it is first asked for, and made
/// anew when the connection is another since. One that stayed on a connection given up would find the store
/// locked: by this thread's own transaction.
template <class User>
class StoreUser
{
public:
    /// Throws BasicException when the store can't be used.
    User& get()
    {
        auto current = store();
        if (m_store != current) {
            reset();
            m_user = std::make_unique<User>();
            m_store = std::move(current);
        }
        return *m_user;
    }
    /// Lets go of the connection.
    void reset()
    {
        m_user.reset();
        m_store.reset();
    }

private:
    std::shared_ptr<Database> m_store;
    std::unique_ptr<User> m_user;
};

} // namespace storage
