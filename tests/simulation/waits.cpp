// What a program waits with, in turns and time of the simulation: for a while, or for what the other program
// holds. Two programs have no locks of one process in common; two threads that take turns must not wait for
// one for ever. And before a file is locked it may be the other's turn.

#include "tests/simulation/beside.h"
#include "tests/simulation/fate.h"
#include "tests/simulation/libraryown.h"
#include "tests/simulation/monotonic.h"

#include <QSqlDatabase>

#include <cerrno>
#include <ctime>
#include <pthread.h>
#include <sys/file.h>

namespace beside = simulation::beside;

extern "C" {
#pragma GCC visibility push(default)

int flock(int file, int operation) noexcept
{
    if (beside::isOn() && !simulation::Fate::one().isDead())
        beside::point();
    return simulation::libraryOwn<int(int, int)>("flock")(file, operation);
}

int nanosleep(const timespec* time, timespec* /*left*/)
{
    simulation::letSpanPass(std::chrono::seconds(time->tv_sec) + std::chrono::nanoseconds(time->tv_nsec));
    beside::pass();
    return 0;
}

int pthread_mutex_lock(pthread_mutex_t* mutex) noexcept
{
    static const auto lock = simulation::libraryOwn<int(pthread_mutex_t*)>("pthread_mutex_lock");
    if (!beside::isOn())
        return lock(mutex);
    int outcome = pthread_mutex_trylock(mutex);
    for (; outcome == EBUSY; outcome = pthread_mutex_trylock(mutex))
        beside::pass();
    return outcome;
}

#pragma GCC visibility pop
}

/// Qt keeps its list of connections locked meanwhile, from the service's too.
void QSqlDatabase::removeDatabase(const QString& name)
{
    const beside::Uninterrupted closing;
    simulation::libraryOwn<void(const QString&)>("_ZN12QSqlDatabase14removeDatabaseERK7QString")(name);
}
