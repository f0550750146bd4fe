#include "bench/shopserver.h"

#include "host/shop/schema.h"

#include <QDir>
#include <QFile>
#include <QThread>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <unistd.h>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

double perSecond() { return static_cast<double>(sysconf(_SC_CLK_TCK)); }

/// The numbers of a line of /proc from the one after that word on.
QList<qint64> numbersIn(const QString& file, const QByteArray& after)
{
    QFile proc(file);
    if (!proc.open(QIODevice::ReadOnly))
        return {};
    const QByteArray text = proc.readAll();
    QList<qint64> numbers;
    for (const QByteArray& word :
         text.mid(text.indexOf(after) + after.size()).split('\n').first().simplified().split(' '))
        numbers.append(word.toLongLong());
    return numbers;
}

/// In ticks, with that of its children that have ended.
qint64 ticksOf(qint64 process)
{
    const auto numbers = numbersIn(u"/proc/%1/stat"_s.arg(process), ") ");
    constexpr qsizetype first = 11; // user's, system's, and the same of the children
    return numbers.value(first) + numbers.value(first + 1) + numbers.value(first + 2) +
           numbers.value(first + 3);
}

QList<qint64> childrenOf(qint64 process)
{
    return numbersIn(u"/proc/%1/task/%1/children"_s.arg(process), "");
}

double machineComputing()
{
    const auto numbers = numbersIn(u"/proc/stat"_s, "cpu ");
    qint64 busy = 0;
    for (const qsizetype column : {0, 1, 2, 5, 6}) // neither idle nor waiting
        busy += numbers.value(column);
    return static_cast<double>(busy) / perSecond();
}

} // namespace

ShopServer::ShopServer(int months, bool withStandby, const QStringList& settings)
    : m_server(std::make_unique<test_support::Postgres>(
          QDir::currentPath(), QStringList{u"shared_buffers=128MB"_s, u"max_connections=300"_s} + settings))
{
    shop::Connection connection(address());
    prepare(connection);
    for (int i = 0; i < months; ++i)
        connection.run(
            u"SELECT ensure_month((date_trunc('month', now()) - make_interval(months => $1))::date)"_s, {i});
    if (withStandby)
        m_standby = m_server->makeStandby();
    m_process = number(u"SELECT split_part(pg_read_file('postmaster.pid'), E'\\n', 1)"_s);
}

ShopServer::~ShopServer() = default;

qint64 ShopServer::bytesOf(const QString& beginnings) const
{
    return number(
        u"SELECT sum(pg_total_relation_size(oid)) FROM pg_class WHERE relnamespace = 'kyr'::regnamespace AND "
        "relkind = 'r' AND relname ~ '^(%1)'"_s.arg(beginnings));
}

double ShopServer::computing() const
{
    qint64 ticks = ticksOf(m_process);
    for (const qint64 child : childrenOf(m_process))
        ticks += ticksOf(child);
    return static_cast<double>(ticks) / perSecond();
}

Meanwhile ShopServer::told() const
{
    Meanwhile now;
    const QStringList numbers =
        m_server
            ->sql(
                u"SELECT (SELECT xact_commit FROM pg_stat_database WHERE datname = 'shop'), "
                "coalesce((to_jsonb(wal)->>'wal_sync')::bigint, 0), wal_bytes::bigint FROM pg_stat_wal AS wal"_s)
            .split(u'|');
    now.commits = numbers.value(0).toLongLong();
    now.syncs = numbers.value(1).toLongLong();
    now.written = numbers.value(2).toLongLong();
    now.seconds = std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count();
    now.computing = computing();
    now.machine = machineComputing();
    return now;
}

ShopServer::Watch::Watch(const ShopServer& server)
    : m_server(server)
    , m_before(server.told())
    , m_thread([this](const std::stop_token& stop) { look(stop); })
{}

void ShopServer::Watch::look(const std::stop_token& stop)
{
    shop::Connection connection(m_server.address());
    while (!stop.stop_requested()) {
        const auto rows =
            connection
                .run(u"SELECT CASE WHEN state = 'idle' THEN 'idle' ELSE coalesce(wait_event, "
                     "'computing') END, count(*) FROM pg_stat_activity WHERE backend_type = 'client "
                     "backend' AND pid <> pg_backend_pid() GROUP BY 1 "
                     "UNION ALL SELECT NULL, count(*) FROM pg_locks WHERE NOT fastpath"_s)
                .rows;
        int connections = 0;
        for (const QVariantList& row : rows) {
            const int count = row[1].toInt();
            if (row[0].isNull()) {
                m_seen.mostLocks = std::max(m_seen.mostLocks, count);
            } else {
                m_seen.waits[row[0].toString()] += count;
                connections += count;
            }
        }
        m_seen.mostConnections = std::max(m_seen.mostConnections, connections);
        QThread::msleep(100);
    }
}

Meanwhile ShopServer::Watch::end(double seconds)
{
    m_thread.request_stop();
    m_thread.join();
    // A connection that ends tells last what it has done.
    while (m_server.number(u"SELECT count(*) FROM pg_stat_activity WHERE backend_type = 'client backend'"_s) >
           1)
        QThread::msleep(10);
    const Meanwhile after = m_server.told();
    Meanwhile result = m_seen;
    result.seconds = seconds;
    result.computing = after.computing - m_before.computing;
    result.machine = (after.machine - m_before.machine) * seconds / (after.seconds - m_before.seconds);
    result.commits = after.commits - m_before.commits;
    result.syncs = after.syncs - m_before.syncs;
    result.written = after.written - m_before.written;
    return result;
}

void tell(const Measured& measured)
{
    const Meanwhile& meanwhile = measured.last;
    const ShopClients::Done& clients = measured.clients;
    const double all = meanwhile.seconds * static_cast<double>(sysconf(_SC_NPROCESSORS_ONLN));
    int looks = 0;
    for (const int count : meanwhile.waits)
        looks += count;
    QStringList waits;
    for (auto wait = meanwhile.waits.cbegin(); wait != meanwhile.waits.cend(); ++wait) {
        const int percent = 100 * wait.value() / std::max(1, looks);
        if (percent >= 3)
            waits.append(u"%1 %2 %"_s.arg(wait.key()).arg(percent));
    }
    std::printf(
        "     processors: database %.0f %%, clients %.0f %%, all %.0f %%; %.1f commits a sync; at most %d "
        "connections, %d locks in the shared table; found at: %s\n",
        100 * meanwhile.computing / all, 100 * clients.computing / all, 100 * meanwhile.machine / all,
        static_cast<double>(meanwhile.commits) / static_cast<double>(std::max<qint64>(1, meanwhile.syncs)),
        meanwhile.mostConnections, meanwhile.mostLocks, qPrintable(waits.join(u", "_s)));
    if (clients.failures > 0)
        std::printf("     %d times the database gave no answer in time, and it was tried again\n",
                    clients.failures);
    std::fflush(stdout);
}
