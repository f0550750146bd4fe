#include "bench/queuedepth.h"

#include "host/network/messagequeue.h"
#include "host/utils/datadirectory.h"

#include <QDir>
#include <QSqlDatabase>
#include <QSqlError>
#include <QSqlQuery>
#include <QTemporaryDir>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdio>
#include <functional>
#include <memory>
#include <thread>
#include <vector>

using namespace Qt::StringLiterals;

namespace {

constexpr double bound = 4.0 / 3;
constexpr int rounds = 200;
constexpr int starts = 20;
constexpr int listed = 100;

QVariantMap message()
{
    return {{u"method"_s, u"POST"_s},
            {u"headers"_s, QVariantMap{{u"Authorization"_s, u"Basic dXNlcjpwYXNz"_s}}},
            {u"body"_s, R"({"receipt":")" + QByteArray(400, 'x') + R"("})"},
            {u"timeout"_s, 10},
            {u"url"_s, u"https://service/v2/partner/operation/refuse-payment"_s}};
}

/// A queue in a folder of its own in which so many messages wait, three to a receipt.
class Queue
{
public:
    explicit Queue(int depth)
        : m_directory(QDir::current().filePath(u"bench_queue-XXXXXX"_s))
    {
        utils::setDataDirectory(m_directory.path());
        {
            MessageQueue made;
            m_first = made.enqueue(u"bench"_s, u"R-0"_s, message(), {});
        }
        fill(depth);
        m_queue = std::make_unique<MessageQueue>();
    }

    void enqueue() { (void)m_queue->enqueue(u"bench"_s, u"new-%1"_s.arg(++m_new), message(), {}); }
    void deliverFirst()
    {
        const QDateTime now = QDateTime::currentDateTimeUtc();
        const auto next = m_queue->nextDue(now, now);
        if (!next || !m_queue->delivered(next->id, {}))
            std::abort();
    }
    void list() { (void)m_queue->messages(listed); }
    [[nodiscard]] QueueHealth health() const { return m_queue->health(); }
    /// A program that starts: opens the file and finds what to send.
    void start()
    {
        utils::setDataDirectory(m_directory.path());
        std::thread([] {
            const MessageQueue opened;
            const QDateTime now = QDateTime::currentDateTimeUtc();
            if (!opened.nextDue(now, now))
                std::abort();
        }).join();
    }

private:
    void fill(int depth) const
    {
        {
            QSqlDatabase raw = QSqlDatabase::addDatabase(u"QSQLITE"_s, u"fill"_s);
            raw.setDatabaseName(m_directory.filePath(u"till.sqlite"_s));
            QSqlQuery query(raw.open() ? raw : QSqlDatabase());
            const bool filled = query.exec(
                u"INSERT INTO queued (queue, receipt, enqueued, message, text) "
                "WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n WHERE i < %1) "
                "SELECT 'bench', 'R-' || (i / 3), 1, (SELECT message FROM queued WHERE id = %2), '' "
                "FROM n WHERE i < %1"_s.arg(depth)
                    .arg(m_first));
            if (!filled)
                qFatal("cannot fill the queue: %s", qPrintable(query.lastError().text()));
            query.exec(u"PRAGMA wal_checkpoint(TRUNCATE)"_s);
        }
        QSqlDatabase::removeDatabase(u"fill"_s);
    }

    QTemporaryDir m_directory;
    qint64 m_first = 0;
    int m_new = 0;
    std::unique_ptr<MessageQueue> m_queue;
};

using Queues = std::array<std::unique_ptr<Queue>, 3>;

/// The medians of each queue, in microseconds. They take turns, so that all meet the same disk.
std::array<double, 3> medians(Queues& queues, int times, const std::function<void(Queue&)>& step)
{
    std::array<std::vector<double>, 3> took;
    for (int i = 0; i < times; ++i) {
        for (std::size_t q = 0; q < queues.size(); ++q) {
            const auto start = std::chrono::steady_clock::now();
            step(*queues[q]);
            const std::chrono::duration<double, std::micro> time = std::chrono::steady_clock::now() - start;
            took[q].push_back(time.count());
        }
    }
    std::array<double, 3> result{};
    for (std::size_t q = 0; q < queues.size(); ++q) {
        const auto middle = took[q].begin() + static_cast<std::ptrdiff_t>(took[q].size() / 2);
        std::nth_element(took[q].begin(), middle, took[q].end());
        result[q] = *middle;
    }
    return result;
}

} // namespace

bool measureDepth(int depth)
{
    Queues queues{std::make_unique<Queue>(1), std::make_unique<Queue>(1000), std::make_unique<Queue>(depth)};
    bool held = true;
    // A list of few is shorter, which says nothing about how listing grows.
    const auto measure = [&](const char* what, int times, bool ofFew, const auto& step) {
        const auto took = medians(queues, times, step);
        const double overFew = took[2] / took[0];
        const double overThousand = took[2] / took[1];
        const bool grows = overThousand > bound || (ofFew && overFew > bound);
        held = held && !grows;
        std::printf("%-16s %d waiting: %.2f times as long as with 1,000", what, depth, overThousand);
        if (ofFew)
            std::printf(", %.2f times as with few", overFew);
        std::printf("%s\n", grows ? ": GROWS by more than a third" : "");
    };
    // One enqueued and one delivered in turn keep the depth.
    measure("enqueue", rounds, true, [](Queue& queue) { queue.enqueue(); });
    measure("first delivery", rounds, true, [](Queue& queue) { queue.deliverFirst(); });
    measure("start", starts, true, [](Queue& queue) { queue.start(); });
    measure("listing", rounds, false, [](Queue& queue) { queue.list(); });
    measure("health", rounds, true, [](Queue& queue) { (void)queue.health(); });
    std::printf("%s\n", held ? "nothing grows by more than a third" : "something grows by more than a third");
    return held;
}
