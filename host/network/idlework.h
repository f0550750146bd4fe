#pragma once

#include "host/utils/export.h"

#include <functional>

/// What its thread does while it waits for the service, so that a window goes on painting meanwhile. As long
/// as the object lives, every request that its thread makes calls the work again and again, a few
/// milliseconds apart; other threads just wait. One at a time in a thread, destroyed by the thread that made
/// it.
///
/// The work must not make requests. An exception of it ends the request and passes to whoever made it: the
/// service may have got the request all the same.
class HOST_EXPORT IdleWork
{
public:
    /// The work of the present thread from now on.
    explicit IdleWork(std::function<void()> work);
    ~IdleWork();
    IdleWork(const IdleWork&) = delete;
    IdleWork& operator=(const IdleWork&) = delete;

    /// The present thread's, or null.
    [[nodiscard]] static const IdleWork* current();
    /// Does the work once; for the request that waits.
    void operator()() const { m_work(); }

private:
    std::function<void()> m_work;
};
