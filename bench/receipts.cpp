#include "bench/table.h"
#include "client/kyrloyaltyinterface.h"
#include "host/core/document.h"
#include "host/core/session.h"
#include "host/queue/dbqueuebroker.h"
#include "host/storage/documents.h"

#include <benchmark/benchmark.h>

#include <string>

using namespace Qt::StringLiterals;

// What the service is told of a receipt, by its number of positions: the cost of one position may not grow
// with the receipt's length.

namespace {

constexpr double growthBound = 1.3;
constexpr int memoryReceipts = 1000;
constexpr double memoryBound = 64; // KiB over all those receipts: a page here and there, not a leak of each

QSharedPointer<Document> documentOf(EDocumentType type, int positions, double quantity)
{
    QSharedPointer<Document> document(new Document(type, type == SaleReceipt ? u"R-1"_s : u"V-1"_s));
    document->setCardRecord(QSharedPointer<DocumentCardRecord>::create(KyrLoyaltySystem, u"2000000000017"_s));
    for (int i = 1; i <= positions; ++i)
        document->addGoodsItem(
            QSharedPointer<GoodsItem>::create(i, u"46%1"_s.arg(i), u"Молоко 3,2 %"_s, 89.9, quantity));
    return document;
}

/// A store that knows one sale.
class OneSale : public DocumentsDao
{
public:
    explicit OneSale(int positions)
        : m_sale(documentOf(SaleReceipt, positions, 2))
    {}
    QSharedPointer<AbstractDocument> loadDocument(const QVariant& /*reference*/, bool /*forUpdate*/) override
    {
        return m_sale;
    }

private:
    QSharedPointer<Document> m_sale;
};

class NoQueue : public DBQueueBroker
{
public:
    void enqueue(const QString& /*queue*/, const QVariantMap& message, const QString& /*text*/) override
    {
        benchmark::DoNotOptimize(message.size());
    }
};

void openDocument(const QSharedPointer<Document>& document)
{
    if (!Singleton<Session>::instance)
        Singleton<Session>::instance = new Session;
    if (!Singleton<DBQueueBroker>::instance)
        Singleton<DBQueueBroker>::instance = new NoQueue;
    Singleton<Session>::instance->setDocument(document);
}

int positionsOf(const benchmark::State& state) { return static_cast<int>(state.range(0)); }

void makeCheck(benchmark::State& state)
{
    openDocument(documentOf(SaleReceipt, positionsOf(state), 2));
    const KyrLoyaltyInterface client;
    while (state.KeepRunning())
        benchmark::DoNotOptimize(client.makeCheck(true));
}

void anonymousSale(benchmark::State& state)
{
    openDocument(documentOf(SaleReceipt, positionsOf(state), 2));
    const KyrLoyaltyInterface client;
    while (state.KeepRunning())
        client.sendAnonymousCheck(u"sale"_s);
}

void partialReturn(benchmark::State& state)
{
    delete Singleton<DocumentsDao>::instance;
    Singleton<DocumentsDao>::instance = new OneSale(positionsOf(state));
    openDocument(documentOf(ReturnReceipt, positionsOf(state), 1));
    const KyrLoyaltyInterface client;
    while (state.KeepRunning())
        client.sendAnonymousCheck(u"salepartial"_s);
}

BENCHMARK(makeCheck)->RangeMultiplier(10)->Range(10, 10'000)->UseRealTime();
BENCHMARK(anonymousSale)->RangeMultiplier(10)->Range(10, 10'000)->UseRealTime();
BENCHMARK(partialReturn)->RangeMultiplier(10)->Range(10, 10'000)->UseRealTime();

/// How much a thousand receipts of ten positions add to the resident memory once warm.
double memoryGrowth()
{
    const auto receipts = [](int count) {
        const KyrLoyaltyInterface client;
        for (int i = 0; i < count; ++i) {
            openDocument(documentOf(SaleReceipt, 10, 2));
            benchmark::DoNotOptimize(client.makeCheck(true));
            client.sendAnonymousCheck(u"sale"_s);
        }
    };
    receipts(memoryReceipts);
    const double before = bench::residentKib();
    receipts(memoryReceipts);
    return bench::residentKib() - before;
}

bool reportAll(bench::Medians& times)
{
    bool holds = true;
    for (const std::string row : {"makeCheck", "anonymousSale", "partialReturn"}) {
        const double growth = times[row + "/10000"] / times[row + "/100"] / 100;
        holds &=
            bench::report((row + ": cost of a position, 10,000 to 100").c_str(), growth, growthBound, "");
    }
    holds &= bench::report("resident growth over 1000 receipts", memoryGrowth(), memoryBound, " KiB");
    return holds;
}

} // namespace

int main(int argc, char** argv) { return bench::run(argc, argv, reportAll); }
