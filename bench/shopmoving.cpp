#include "bench/shopbench.h"
#include "bench/shopclients.h"
#include "bench/shopreceipts.h"
#include "bench/shopserver.h"
#include "host/shop/moving.h"
#include "host/shop/schema.h"
#include "host/storage/datadirectory.h"
#include "host/storage/transaction.h"

#include <QThread>

#include <algorithm>
#include <array>
#include <cstdio>
#include <map>
#include <memory>
#include <vector>

using namespace Qt::StringLiterals;

namespace {

void require(bool holds, const char* what)
{
    if (!holds)
        qFatal("%s", what);
}

void measure(Measured& row, const ShopServer& server, int tills, int receipts, const QString& how)
{
    server.run(
        u"TRUNCATE kyr.documents, kyr.places, kyr.card_records, kyr.journal, kyr.queued, kyr.history; CHECKPOINT"_s);
    const QTemporaryDir stores;
    const int each = std::max(1, receipts / tills);
    QList<QStringList> arguments;
    for (int i = 1; i <= tills; ++i)
        arguments.append({u"till-process"_s, stores.filePath(QString::number(i)), QString::number(i),
                          server.address(), QString::number(each), how});
    ShopClients clients(arguments);
    ShopServer::Watch watch(server);
    QElapsedTimer time;
    time.start();
    clients.begin();
    row.clients = clients.done();
    const double seconds = static_cast<double>(time.nsecsElapsed()) / 1e9;
    row.last = watch.end(seconds);
    row.perSecond.push_back(each * tills / seconds);
    require(server.number(u"SELECT count(*) FROM kyr.documents"_s) == each * tills &&
                server.number(u"SELECT count(*) FROM kyr.card_records"_s) == each * tills &&
                server.number(u"SELECT count(*) FROM kyr.queued"_s) == each * tills &&
                server.number(u"SELECT count(*) FROM kyr.journal"_s) ==
                    each * tills * (ClosedReceipts::entries + 1),
            "not everything has moved on, or something twice");
}

/// False: not all, for the database can't be used just now.
bool movesOn(shop::Moving& moving)
{
    try {
        while (moving.step()) {
        }
        return true;
    } catch (const shop::DatabaseError&) {
        return false;
    }
}

} // namespace

bool measureMoving(const QList<int>& tills, int receipts, int rounds, int months, bool withStandby)
{
    std::vector<std::unique_ptr<ShopServer>> servers;
    servers.push_back(std::make_unique<ShopServer>(months, false));
    if (withStandby)
        servers.push_back(std::make_unique<ShopServer>(months, true));
    bool holds = true;
    for (const QString& how : {u"waiting"_s, u"closing"_s}) {
        std::map<int, std::array<Measured, 2>> rows;
        for (int round = 0; round < rounds; ++round) {
            for (const int count : tills) {
                for (std::size_t i = 0; i < servers.size(); ++i)
                    measure(rows[count].at(i), *servers[i], count, receipts, how);
            }
        }
        const double one = median(rows.begin()->second[0].perSecond);
        for (const auto& [count, both] : rows) {
            for (std::size_t i = 0; i < servers.size(); ++i) {
                const double perSecond = median(both.at(i).perSecond);
                holds &= perSecond >= reserve * busiestShop;
                std::printf("%s: %3d tills%s: %.2f times the receipts of %d, %.0f times what 200 tills need "
                            "(bound %.0f); %lld bytes of log a receipt\n",
                            qPrintable(how), count, i == 0 ? "" : " and a standby", perSecond / one,
                            rows.begin()->first, perSecond / busiestShop, reserve,
                            static_cast<long long>(both.at(i).last.written / std::max(1, receipts)));
                tell(both.at(i));
            }
        }
    }
    std::printf("kept: %lld bytes of a receipt with its card, %lld of its journal\n",
                static_cast<long long>(servers[0]->bytesOf(u"documents|card_records|places"_s) / receipts),
                static_cast<long long>(servers[0]->bytesOf(u"journal"_s) / receipts));
    return holds;
}

// Either all that waits, as after an outage, or each receipt as it is closed.
int beTill(const QStringList& arguments)
{
    storage::setDataDirectory(arguments[0]);
    const QString& till = arguments[1];
    const int receipts = arguments[3].toInt();
    const bool areWaiting = arguments[4] == u"waiting"_s;
    shop::Connection database(arguments[2]);
    requirePrepared(database);
    shop::Moving moving(till, database);
    ClosedReceipts closed;
    const auto close = [&](int i) { closed.close(ordinarySale(u"%1-%2"_s.arg(till).arg(i))); };
    if (areWaiting) {
        storage::Transaction together;
        for (int i = 0; i < receipts; ++i)
            close(i);
        together.commit();
    }
    const ShopClient client;
    int failures = 0;
    for (int i = 0; i < (areWaiting ? 1 : receipts); ++i) {
        if (!areWaiting)
            close(i);
        while (!movesOn(moving)) {
            ++failures;
            QThread::sleep(1);
        }
    }
    client.tellDone(failures);
    return 0;
}
