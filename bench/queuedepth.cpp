#include "bench/queuedepth.h"

#include "host/queue/messagequeue.h"
#include "host/storage/database.h"
#include "host/storage/datadirectory.h"

#include <QDir>
#include <QFileInfo>
#include <QProcess>
#include <QSqlDatabase>
#include <QSqlError>
#include <QSqlQuery>
#include <QTemporaryDir>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <functional>
#include <memory>
#include <vector>

using namespace Qt::StringLiterals;

namespace {

constexpr double bound = 4.0 / 3;
constexpr int rounds = 200;
constexpr int starts = 40;
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
        , m_depth(depth)
    {
        storage::setDataDirectory(m_directory.path());
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
    /// A till that starts, with its plug-in, and ends at once.
    void start() const
    {
        const QString nothingToDo = m_directory.filePath(u"nothing.json"_s);
        write(nothingToDo, R"({ "steps": [] })");
        const QString config = m_directory.filePath(u"till.toml"_s);
        write(config, "[KYRLoyalty]\nserverUrl = \"http://127.0.0.1:9/\"\n");
        QProcess till;
        till.start(QStringLiteral(TILL_PROGRAM),
                   {u"run"_s, nothingToDo, u"--config"_s, config, u"--data-dir"_s, m_directory.path()});
        if (!till.waitForFinished() || till.exitCode() != 0)
            qFatal("the till does not start: %s", till.readAllStandardError().constData());
    }

    [[nodiscard]] int depth() const { return m_depth; }
    [[nodiscard]] qint64 size() const { return QFileInfo(m_directory.filePath(u"till.sqlite"_s)).size(); }

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

    static void write(const QString& path, const QByteArray& content)
    {
        QFile file(path);
        if (!file.open(QIODevice::WriteOnly) || file.write(content) != content.size())
            qFatal("%s cannot be written", qPrintable(path));
    }

    QTemporaryDir m_directory;
    int m_depth = 0;
    qint64 m_first = 0;
    int m_new = 0;
    std::unique_ptr<MessageQueue> m_queue;
};

using Queues = std::vector<std::unique_ptr<Queue>>;

/// The medians of each queue, in microseconds. They take turns, so that all meet the same disk.
std::vector<double> medians(Queues& queues, int times, const std::function<void(Queue&)>& step)
{
    std::vector<std::vector<double>> took(queues.size());
    for (int i = 0; i < times; ++i) {
        for (std::size_t q = 0; q < queues.size(); ++q) {
            const auto start = std::chrono::steady_clock::now();
            step(*queues[q]);
            const std::chrono::duration<double, std::micro> time = std::chrono::steady_clock::now() - start;
            took[q].push_back(time.count());
        }
    }
    std::vector<double> result;
    for (std::vector<double>& all : took) {
        const auto middle = all.begin() + static_cast<std::ptrdiff_t>(all.size() / 2);
        std::nth_element(all.begin(), middle, all.end());
        result.push_back(*middle);
    }
    return result;
}

/// Few, a thousand, as many as a start just reads through, and `depth`.
Queues queuesUpTo(int depth)
{
    Queues queues;
    queues.push_back(std::make_unique<Queue>(1));
    queues.push_back(std::make_unique<Queue>(1000));
    const qint64 perThousand = queues[1]->size() - queues[0]->size();
    const qint64 readThrough = storage::Database::readAtAStart * 9 / 10 * 1000 / perThousand;
    queues.push_back(std::make_unique<Queue>(static_cast<int>(readThrough)));
    queues.push_back(std::make_unique<Queue>(depth));
    return queues;
}

} // namespace

bool measureDepth(int depth)
{
    Queues queues = queuesUpTo(depth);
    bool held = true;
    // A list of few is shorter, which says nothing about how listing grows.
    const auto measure = [&](const char* what, int times, bool ofFew, const auto& step) {
        const auto took = medians(queues, times, step);
        for (std::size_t q = 2; q < queues.size(); ++q) {
            const double overFew = took[q] / took[0];
            const double overThousand = took[q] / took[1];
            const bool grows = overThousand > bound || (ofFew && overFew > bound);
            held = held && !grows;
            std::printf("%-16s %7d waiting: %.2f times as long as with 1,000", what, queues[q]->depth(),
                        overThousand);
            if (ofFew)
                std::printf(", %.2f times as with few", overFew);
            std::printf("%s\n", grows ? ": GROWS by more than a third" : "");
        }
    };
    // One enqueued and one delivered in turn keep the depth.
    measure("enqueue", rounds, true, [](Queue& queue) { queue.enqueue(); });
    measure("first delivery", rounds, true, [](Queue& queue) { queue.deliverFirst(); });
    if (queues[2]->size() > storage::Database::readAtAStart ||
        queues[3]->size() <= storage::Database::readAtAStart)
        qFatal("the files are not as large as they should be");
    measure("start", starts, true, [](const Queue& queue) { queue.start(); });
    measure("listing", rounds, false, [](Queue& queue) { queue.list(); });
    measure("health", rounds, true, [](Queue& queue) { (void)queue.health(); });
    std::printf("%s\n", held ? "nothing grows by more than a third" : "something grows by more than a third");
    return held;
}
