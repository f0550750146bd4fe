// Starts a process, then counts together with another thread: with a lock, or, when told "unlocked", without.

#include <QCoreApplication>
#include <QProcess>

#include <atomic>
#include <cstdio>
#include <cstring>
#include <mutex>
#include <thread>

namespace {

std::mutex mutex;
int counted = 0;

void count(bool locked)
{
    std::unique_lock lock(mutex, std::defer_lock);
    if (locked)
        lock.lock();
    ++counted;
}

} // namespace

int main(int argc, char** argv)
{
    const QCoreApplication application(argc, argv);
    const bool locked = argc < 2 || std::strcmp(argv[1], "unlocked") != 0;
    if (QProcess::execute(QStringLiteral("true"), {}) != 0)
        return 1;
    std::atomic<int> turn = 0; // relaxed: it orders the two in time alone
    std::thread other([&] {
        while (turn.load(std::memory_order_relaxed) != 1) {
        }
        count(locked);
        turn.store(2, std::memory_order_relaxed);
    });
    // Whoever comes second is told of a race: with the lock each is once, without it this thread alone.
    if (locked)
        count(locked);
    turn.store(1, std::memory_order_relaxed);
    while (turn.load(std::memory_order_relaxed) != 2) {
    }
    count(locked);
    other.join();
    std::printf("counted %d\n", counted);
    return 0;
}
