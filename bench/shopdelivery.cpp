#include "bench/ledger.h"
#include "bench/shopbench.h"
#include "bench/shopclients.h"
#include "bench/shopreceipts.h"
#include "bench/shopserver.h"
#include "host/shop/moving.h"
#include "host/shop/shopjobs.h"
#include "host/storage/datadirectory.h"
#include "host/storage/transaction.h"

#include <QThread>

#include <algorithm>
#include <cstdio>
#include <map>
#include <vector>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

constexpr int perReceipt = 3;
constexpr auto longest = 15min;

/// All receipts' first messages, then their second ones, and so on.
void fill(const ShopServer& server, int receipts, int port)
{
    const QTemporaryDir store;
    storage::setDataDirectory(store.path());
    {
        ClosedReceipts till;
        storage::Transaction together;
        for (int message = 0; message < perReceipt; ++message) {
            for (int receipt = 0; receipt < receipts; ++receipt)
                till.enqueue(u"R-%1"_s.arg(receipt),
                             QByteArray::number(receipt) + ' ' + QByteArray::number(message) +
                                 QByteArray(2048, ' '),
                             port);
        }
        together.commit();
        shop::Connection database(server.address());
        shop::Moving moving(u"1"_s, database);
        while (moving.step()) {
        }
    }
    storage::setDataDirectory({});
}

void measure(Measured& row, const ShopServer& server, int deliveries, int receipts,
             std::chrono::milliseconds takes)
{
    server.run(u"TRUNCATE kyr.journal, kyr.queued, kyr.history; CHECKPOINT"_s);
    const int messages = receipts * perReceipt;
    const Ledger service(receipts, takes);
    fill(server, receipts, service.port());
    ShopClients clients(QList<QStringList>(deliveries, {u"delivery-process"_s, server.address()}));
    ShopServer::Watch watch(server);
    QElapsedTimer time;
    time.start();
    clients.begin();
    while (service.answered() < messages && !time.hasExpired(std::chrono::milliseconds(longest).count()))
        QThread::msleep(2);
    const double seconds = static_cast<double>(time.nsecsElapsed()) / 1e9;
    clients.stop();
    row.clients = clients.done();
    row.last = watch.end(seconds);
    row.perSecond.push_back(messages / seconds);
    const qint64 kept =
        server.number(u"SELECT count(*) FROM kyr.history WHERE outcome = 'delivered' AND attempts = 0"_s);
    if (service.answered() != messages || service.wrong() != 0 || kept != messages ||
        server.number(u"SELECT count(*) FROM kyr.queued"_s) != 0)
        qFatal("%d of %d messages came, %d of them again or before their turn; %lld are known as delivered",
               service.answered(), messages, service.wrong(), static_cast<long long>(kept));
}

} // namespace

bool measureDelivery(const QList<int>& deliveries, int messages, int rounds, int months, int milliseconds)
{
    const ShopServer server(months, false);
    std::map<int, Measured> rows;
    for (int round = 0; round < rounds; ++round) {
        for (const int count : deliveries)
            measure(rows[count], server, count, messages / perReceipt,
                    std::chrono::milliseconds(milliseconds));
    }
    const double one = median(rows.begin()->second.perSecond);
    bool holds = true;
    for (const auto& [count, row] : rows) {
        const double perSecond = median(row.perSecond);
        holds &= perSecond >= reserve * busiestShop;
        std::printf(
            "a service that takes %d ms: %2d deliveries: %.2f times the messages of %d, %.0f times what 200 "
            "tills need (bound %.0f); each once and in its order\n",
            milliseconds, count, perSecond / one, rows.begin()->first, perSecond / busiestShop, reserve);
        tell(row);
    }
    std::printf("kept: %lld bytes of a delivered message\n",
                static_cast<long long>(server.bytesOf(u"history|journal"_s) / messages));
    return holds;
}

int beDelivery(const QStringList& arguments)
{
    const ShopClient client;
    {
        const DeliveryWorker worker(shop::shopDelivery(arguments[0], {}));
        ShopClient::waitForStop();
    }
    client.tellDone();
    return 0;
}
