#pragma once

#include "host/utils/database.h"

#include <memory>
#include <utility>

namespace utils {

/// This thread's connection to the data directory's `till.sqlite`: receipts, outgoing queue and journal. It
/// is opened by the first user and closed with the last. After a failure that a new connection may not meet,
/// such as a file that was taken away, the next call opens one. Throws BasicException when the file can't be
/// used.
HOST_EXPORT std::shared_ptr<Database> store();

/// Everything that this thread changes in the store between construction and commit() is one commit; without
/// commit() nothing of it was done. Other threads and programs wait for it to write, so no exchange with the
/// service belongs inside. Not to be nested. Database::atomically() inside it joins it. Once something inside
/// has failed, further changes and commit() throw, even when the failure was caught.
class HOST_EXPORT Transaction
{
public:
    Transaction();
    ~Transaction();
    Transaction(const Transaction&) = delete;
    Transaction& operator=(const Transaction&) = delete;

    /// Durable on return. When it throws, nothing was done.
    void commit();

private:
    std::shared_ptr<Database> m_store;
};

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

} // namespace utils
