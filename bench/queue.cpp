#include "bench/queuedepth.h"
#include "host/queue/dbqueuebroker.h"
#include "host/queue/messagequeue.h"
#include "host/storage/datadirectory.h"

#include <QCoreApplication>
#include <QDataStream>
#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdio>
#include <fcntl.h>
#include <string_view>
#include <unistd.h>
#include <vector>

using namespace Qt::StringLiterals;

// What a durable enqueue costs against the least that durability can cost: the same bytes appended to a plain
// file and synced; and whether anything takes longer the more messages wait. All on the file system of the
// current folder (a disk, for figures that mean something).

namespace {

constexpr double bound = 1.3;
constexpr int rounds = 40;
constexpr int perRound = 25; // the two take turns this often, so that both meet the same disk

QVariantMap message()
{
    const QByteArray body = R"({"receipt":")" + QByteArray(2048 - 14, 'x') + R"("})";
    return {{u"method"_s, u"POST"_s},
            {u"headers"_s, QVariantMap{{u"Authorization"_s, u"Basic dXNlcjpwYXNz"_s},
                                       {u"Content-Type"_s, u"application/json"_s}}},
            {u"body"_s, body},
            {u"timeout"_s, 10},
            {u"url"_s, u"https://service/v2/partner/operation/payment-b2c"_s}};
}

/// Appends and syncs by the system's own calls.
class Appended
{
public:
    explicit Appended(const QString& path)
        : m_file(open(QFile::encodeName(path).constData(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0600))
    {}
    ~Appended() { close(m_file); }
    Appended(const Appended&) = delete;
    Appended& operator=(const Appended&) = delete;

    [[nodiscard]] bool add(const QByteArray& bytes) const
    {
        return write(m_file, bytes.constData(), static_cast<std::size_t>(bytes.size())) == bytes.size() &&
               fdatasync(m_file) == 0;
    }

private:
    int m_file;
};

/// Microseconds of each of a round's calls.
template <typename Call>
void measure(std::vector<double>& times, Call call)
{
    for (int i = 0; i < perRound; ++i) {
        const auto start = std::chrono::steady_clock::now();
        call();
        const std::chrono::duration<double, std::micro> took = std::chrono::steady_clock::now() - start;
        times.push_back(took.count());
    }
}

double mean(const std::vector<double>& times)
{
    double sum = 0;
    for (const double time : times)
        sum += time;
    return sum / static_cast<double>(times.size());
}

double quantile(std::vector<double> times, double share)
{
    std::sort(times.begin(), times.end());
    return times[static_cast<std::size_t>(share * static_cast<double>(times.size() - 1))];
}

void print(const char* what, const std::vector<double>& times)
{
    std::printf("%-28s median %8.1f us   mean %8.1f us   p99 %8.1f us\n", what, quantile(times, 0.5),
                mean(times), quantile(times, 0.99));
}

} // namespace

int main(int argc, char** argv)
{
    const QCoreApplication application(argc, argv);
    const bool check = argc > 1 && std::string_view(argv[1]) == "--check";
    const int depth =
        argc > 2 ? QByteArray(argv[2]).toInt() : 100000; // a million takes a minute and gigabytes
    if (depth < 2000 || argc > 3 || (argc > 1 && !check && std::string_view(argv[1]) != "--depth")) {
        qWarning("usage: bench_queue [--check | --depth] [DEPTH]; a DEPTH is 2000 or more");
        return 2;
    }
    const QTemporaryDir directory(QDir::current().filePath(u"bench_queue-XXXXXX"_s));
    if (!directory.isValid()) {
        qWarning("no folder to measure in: %s", qPrintable(directory.errorString()));
        return 2;
    }
    storage::setDataDirectory(directory.path());

    const QVariantMap sent = message();
    QByteArray bytes;
    QDataStream stream(&bytes, QIODevice::WriteOnly);
    stream << sent;
    DBQueueBroker broker;
    const Appended file(directory.filePath(u"appended"_s));

    std::vector<double> enqueued;
    std::vector<double> appended;
    bool whole = true;
    for (int round = 0; round <= rounds; ++round) {
        if (round == 1) { // the first one opens the files
            enqueued.clear();
            appended.clear();
        }
        measure(enqueued, [&] { broker.enqueue(u"bench"_s, sent, {}); });
        measure(appended, [&] { whole = file.add(bytes) && whole; });
    }
    if (!whole || MessageQueue().waitingCount() != (rounds + 1) * perRound) {
        qWarning("not everything was kept");
        return 2;
    }

    print("enqueue", enqueued);
    print("append + fdatasync", appended);
    const double ratio = quantile(enqueued, 0.5) / quantile(appended, 0.5);
    std::printf("ratio of the medians %.2f, of the means %.2f (bound %.2f)%s\n", ratio,
                mean(enqueued) / mean(appended), bound, ratio <= bound ? "" : ": over");
    const bool level = measureDepth(depth);
    return check && (ratio > bound || !level) ? 1 : 0;
}
