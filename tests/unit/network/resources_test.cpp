#include "host/network/parallelclient.h"
#include "tests/unit/network/scene.h"

#include <QDeadlineTimer>
#include <QDir>

#include <dlfcn.h>
#include <netdb.h>

#include <atomic>
#include <condition_variable>
#include <cstring>
#include <mutex>
#include <thread>

#include <gmock/gmock.h>

using test_support::HttpAnswer;
using test_support::HttpServer;
using testing::AllOf;
using testing::Ge;
using testing::Lt;
using testing::SizeIs;
using namespace Qt::StringLiterals;
using ErrorCode = RestClient::ErrorCode;

namespace {

constexpr std::chrono::seconds patience{5};

/// Holds whoever resolves "slow.test" until it is released, or for longer than the test allows.
struct SlowName
{
    std::mutex mutex;
    std::condition_variable changed;
    bool released = false;
};

SlowName& slowName()
{
    static SlowName name;
    return name;
}

/// How often "service.test", which is 127.0.0.1, was looked up.
std::atomic<int> lookups = 0;

qsizetype countOf(const QString& directory)
{
    return QDir(directory).entryList(QDir::AllEntries | QDir::System | QDir::NoDotAndDotDot).size();
}

qsizetype threads() { return countOf(u"/proc/self/task"_s); }
qsizetype handles() { return countOf(u"/proc/self/fd"_s); }

/// Waits for what is left to others to end, such as the server's thread of a connection.
template <typename Count>
bool fallsTo(qsizetype bound, Count count)
{
    const auto deadline = std::chrono::steady_clock::now() + patience;
    while (count() > bound && std::chrono::steady_clock::now() < deadline)
        std::this_thread::yield();
    return count() <= bound;
}

/// A line of /proc/self/status, in bytes.
qint64 memory(const QByteArray& name)
{
    QFile status(u"/proc/self/status"_s);
    if (!status.open(QIODevice::ReadOnly))
        return -1;
    for (const QByteArray& line : status.readAll().split('\n')) {
        if (line.startsWith(name + ':'))
            return line.sliced(name.size() + 1).trimmed().split(' ').constFirst().toLongLong() * 1024;
    }
    return -1;
}

void forgetThePeakOfMemory()
{
    QFile clear(u"/proc/self/clear_refs"_s);
    ASSERT_TRUE(clear.open(QIODevice::WriteOnly) && clear.write("5") == 1);
}

} // namespace

// Stands before the C library's, for libcurl too.
// NOLINTNEXTLINE(readability-inconsistent-declaration-parameter-name): the library's are reserved names
extern "C" __attribute__((visibility("default"))) int getaddrinfo(const char* name, const char* service,
                                                                  const addrinfo* hints, addrinfo** result)
{
    if (name && std::strcmp(name, "slow.test") == 0) {
        SlowName& slow = slowName();
        std::unique_lock lock(slow.mutex);
        slow.changed.wait_for(lock, patience, [&slow] { return slow.released; });
        return EAI_NONAME;
    }
    if (name && std::strcmp(name, "unknown.test") == 0)
        return EAI_NONAME;
    if (name && std::strcmp(name, "service.test") == 0) {
        ++lookups;
        name = "127.0.0.1";
    }
    using Function = int (*)(const char*, const char*, const addrinfo*, addrinfo**);
    static const auto next = reinterpret_cast<Function>(dlsym(RTLD_NEXT, "getaddrinfo"));
    return next(name, service, hints, result);
}

TEST(RestClientResources, IsConnectWhenTheNameIsUnknown)
{
    EXPECT_EQ(get(QUrl(u"http://unknown.test/"_s)).errorCode, code(ErrorCode::Connect));
}

TEST(RestClientResources, EndsInTimeWhenTheNameIsNeverResolvedAndLetsTheResolverGo)
{
    std::thread([] {}).join(); // the thread sanitizer has one of its own from the first thread on
    const qsizetype before = threads();
    const Outcome outcome = get(QUrl(u"http://slow.test/"_s), 1);
    EXPECT_EQ(outcome.errorCode, code(ErrorCode::Timeout));
    EXPECT_THAT(outcome.milliseconds, AllOf(Ge(990), Lt(1500)));
    EXPECT_EQ(threads(), before + 1);
    {
        const std::lock_guard lock(slowName().mutex);
        slowName().released = true;
        slowName().changed.notify_all();
    }
    EXPECT_TRUE(fallsTo(before, threads));
}

TEST(ParallelClientResources, LookANameUpOnceForAllConnections)
{
    HttpServer server;
    server.enqueue(HttpAnswer::status(200, "{}"));
    for (int i = 0; i < 2; ++i) {
        HttpAnswer never = HttpAnswer::status(200, "{}");
        never.delay = std::chrono::hours(24);
        server.enqueue(never);
    }
    QUrl url = server.url();
    url.setHost(u"service.test"_s);
    ParallelClient client;
    client.begin(1, {"GET", url, {}, {}, 20});
    EXPECT_THAT(client.finished(patience), SizeIs(1));
    client.begin(2, {"GET", url, {}, {}, 20});
    client.begin(3, {"GET", url, {}, {}, 20});
    for (const QDeadlineTimer end(patience); server.requests().size() < 3 && !end.hasExpired();)
        EXPECT_THAT(client.finished(std::chrono::milliseconds(1)), SizeIs(0));
    EXPECT_EQ(server.connections(), 2);
    EXPECT_EQ(lookups, 1);
}

TEST(RestClientResources, LeaveNoThreadAndNoHandleBehind)
{
    HttpServer plain;
    HttpServer secure(trustedCertificate());
    const auto requests = [&] {
        plain.enqueue(HttpAnswer::status(200, "{}"));
        secure.enqueue(HttpAnswer::status(200, "{}"));
        EXPECT_EQ(get(plain.url()).errorCode, 0);
        EXPECT_EQ(get(secure.url()).errorCode, 0);
        // A name takes libcurl's resolver, which has a thread.
        EXPECT_EQ(get(QUrl(u"http://unknown.test/"_s)).errorCode, code(ErrorCode::Connect));
    };
    const qsizetype threadsBefore = threads();
    const qsizetype handlesBefore = handles();
    for (int round = 0; round < 20; ++round)
        requests();
    EXPECT_TRUE(fallsTo(threadsBefore, threads)) << threads() << " threads, were " << threadsBefore;
    EXPECT_TRUE(fallsTo(handlesBefore, handles)) << handles() << " handles, were " << handlesBefore;
}

TEST(RestClientResources, RefuseAHundredMegabytesQuicklyAndKeepMemoryFlat)
{
    constexpr qint64 mebibyte = 1 << 20;
    HttpServer server;
    HttpAnswer answer = HttpAnswer::raw("HTTP/1.1 200 OK\r\n\r\n");
    answer.endless = 100 * mebibyte;
    server.enqueue(answer);
    forgetThePeakOfMemory();
    const qint64 before = memory("VmRSS");
    const Outcome outcome = get(server.url());
    EXPECT_EQ(outcome.errorCode, code(ErrorCode::TooLarge));
    EXPECT_THAT(outcome.milliseconds, Lt(2000));
    EXPECT_THAT(memory("VmHWM") - before, Lt(40 * mebibyte));
}
