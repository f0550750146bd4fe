#pragma once

#include "host/queue/messagequeue.h"
#include "host/storage/retention.h"
#include "host/storage/store.h"
#include "host/utils/config.h"

namespace till {

/// Removes what is kept for its time while nothing is to be sent.
class SpareTime
{
public:
    explicit SpareTime(const Config& config);

    /// From now on the configuration says how long that is.
    void set(const Config& config);

    /// Takes a small step; false: there is nothing to do for a while.
    bool use();

private:
    storage::StoreUser<MessageQueue> m_queue;
    storage::Retention m_retention;
};

} // namespace till
