#include "bench/delayingproxy.h"
#include "bench/peer.h"
#include "host/network/restclient.h"
#include "host/queue/messagequeue.h"
#include "host/queue/queuedelivery.h"
#include "host/storage/datadirectory.h"
#include "host/storage/transaction.h"

#include <QCoreApplication>
#include <QDir>
#include <QLoggingCategory>
#include <QTemporaryDir>

#include <chrono>
#include <cstdio>
#include <functional>

using namespace Qt::StringLiterals;

// What is gained by delivering a queue side by side over kept connections, against one message after the
// other over a connection each, to a service that is some way off. Both keep what became of each message on
// the file system of the current folder.

namespace {

constexpr double bound = 6;
constexpr int perReceipt = 3;

void fill(MessageQueue& queue, int messages, int port)
{
    const QVariantMap message{
        {u"method"_s, u"POST"_s},
        {u"headers"_s, QVariantMap{{u"Authorization"_s, u"Basic dXNlcjpwYXNz"_s}}},
        {u"body"_s, R"({"receipt":")" + QByteArray(2048 - 14, 'x') + R"("})"},
        {u"timeout"_s, 10},
        {u"url"_s, u"http://127.0.0.1:%1/v2/partner/operation/payment-b2c"_s.arg(port)}};
    storage::Transaction together;
    for (int i = 0; i < messages; ++i)
        queue.enqueue(u"bench"_s, u"R-%1"_s.arg(i / perReceipt), message, {});
    together.commit();
}

void deliverOneByOne(MessageQueue& queue)
{
    const QDateTime start = QDateTime::currentDateTimeUtc();
    while (const auto next = queue.nextDue(start, QDateTime::currentDateTimeUtc())) {
        const QVariantMap& message = next->message;
        QHash<QString, QString> headers;
        const QVariantMap given = message.value(u"headers"_s).toMap();
        for (auto header = given.cbegin(); header != given.cend(); ++header)
            headers.insert(header.key(), header->toString());
        RestClient client;
        client.setTimeout(message.value(u"timeout"_s).toInt());
        client.post(QUrl(message.value(u"url"_s).toString()), message.value(u"body"_s).toByteArray(),
                    headers);
        if (client.getErrorCode() != 0)
            qFatal("the service fails");
        queue.delivered(next->id, {});
    }
}

void deliver(MessageQueue& queue)
{
    const auto held = QueueDelivery::lock();
    QueueDelivery(queue).deliverDue(*held);
}

/// In seconds.
double measure(const char* what, const Peer& service, int messages, std::chrono::milliseconds roundTrip,
               const std::function<void(MessageQueue&)>& delivery)
{
    const DelayingProxy proxy(service.port(), roundTrip);
    MessageQueue queue;
    fill(queue, messages, proxy.port());
    const auto start = std::chrono::steady_clock::now();
    delivery(queue);
    const std::chrono::duration<double> took = std::chrono::steady_clock::now() - start;
    if (queue.waitingCount() + queue.parkedCount() != 0)
        qFatal("not everything was delivered");
    std::printf("%-12s %d messages in %.2f s over %d connections, %d at once\n", what, messages, took.count(),
                proxy.connections(), proxy.mostAtOnce());
    std::fflush(stdout);
    return took.count();
}

} // namespace

int main(int argc, char** argv)
{
    const Peer service(nullptr);
    const QCoreApplication application(argc, argv);
    QLoggingCategory::setFilterRules(u"network.debug=false"_s); // a line for each exchange
    QStringList arguments = QCoreApplication::arguments().sliced(1);
    const bool check = arguments.removeAll(u"--check"_s) > 0;
    const int messages = arguments.value(0, u"40"_s).toInt();
    const int roundTrip = arguments.value(1, u"4"_s).toInt();
    if (messages < 1 || roundTrip < 1 || arguments.size() > 2) {
        qWarning("usage: bench_delivery [--check] [MESSAGES [ROUND_TRIP_IN_MILLISECONDS]]");
        return 2;
    }
    const QTemporaryDir directory(QDir::current().filePath(u"bench_delivery-XXXXXX"_s));
    storage::setDataDirectory(directory.path());
    const std::chrono::milliseconds time(roundTrip);
    const double alone = measure("one by one:", service, messages, time, deliverOneByOne);
    const double together = measure("delivery:", service, messages, time, deliver);
    const double ratio = alone / together;
    std::printf("%.2f times as fast (bound %.0f)%s\n", ratio, bound, ratio >= bound ? "" : ": under");
    return check && ratio < bound ? 1 : 0;
}
