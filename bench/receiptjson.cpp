#include "client/compactjson.h"
#include "client/kyrloyaltyinterface.h"
#include "client/receipt.h"
#include "host/core/document.h"
#include "host/core/session.h"
#include "tests/support/stillclock.h"

#include <QJsonDocument>

#include <cstdio>

using namespace Qt::StringLiterals;

// What it takes to make the body of a receipt of 1,000 positions, in instructions: valgrind counts those of
// the two functions in one run, see bench/receipt_instructions.

namespace {

QSharedPointer<Document> longReceipt()
{
    constexpr int positions = 1000;
    QSharedPointer<Document> document(new Document(SaleReceipt, u"R-1"_s));
    document->setCardRecord(QSharedPointer<DocumentCardRecord>::create(KyrLoyaltySystem, u"2000000000017"_s));
    for (int i = 1; i <= positions; ++i) {
        const double quantity = i % 3 == 0 ? 0.1 + i / 1000.0 : i % 5; // some are weighed, some cost nothing
        document->addGoodsItem(
            QSharedPointer<GoodsItem>::create(i, u"46%1"_s.arg(i), u"Молоко 3,2 %"_s, 9.9 + i, quantity));
    }
    return document;
}

} // namespace

namespace bench {

// Neither may be inlined: valgrind counts by function.

/// As the client made it before: from variants, twice through QJsonDocument.
[[gnu::noinline]] QByteArray bodyByQt()
{
    const auto document = receipt::current();
    QVariantList positions;
    double amount = 0;
    const auto items = document->getGoodsItems();
    for (const auto& item : items) {
        if (!receipt::isListed(*item))
            continue;
        const double sum = item->getSumb() + item->getBonusImpactSum();
        positions.append(QVariantMap{
            {u"position"_s, QString::number(item->getPosnum())},
            {u"prod_cat"_s, 0},
            {u"prod_code"_s, item->getArticul()},
            {u"prod_name"_s, item->getName(false)},
            {u"prod_price"_s, item->getPrice()},
            {u"prod_amount"_s, item->getBquant()},
            {u"prod_sum"_s, sum},
        });
        amount += sum;
    }
    const auto details = QJsonDocument::fromVariant(positions).toJson(QJsonDocument::Compact);
    const QVariantMap check{
        {u"card"_s, receipt::cardRecord(*document)->getNumber().toString()},
        {u"branch_id"_s, receipt::shopCode()},
        {u"receipt_currency"_s, u""_s},
        {u"receipt_amount"_s, amount},
        {u"receipt_details"_s, QString::fromUtf8(details)},
        {u"receipt_datetime"_s, receipt::nowInSeconds()},
        {u"receipt_discount"_s, u"0"_s},
        {u"check_identifier"_s, document->getIdentifier()},
        {u"operator_id"_s, {}},
        {u"terminal_id"_s, {}},
    };
    return QJsonDocument::fromVariant(check).toJson(QJsonDocument::Compact);
}

[[gnu::noinline]] QByteArray bodyByTheClient(const KyrLoyaltyInterface& client)
{
    return json::compact(client.makeCheck(true));
}

} // namespace bench

int main()
{
    const test_support::StillClock clock; // both bodies carry the time
    Singleton<Session>::instance = new Session;
    Singleton<Session>::instance->setDocument(longReceipt());
    const KyrLoyaltyInterface client;
    const QByteArray byQt = bench::bodyByQt();
    const QByteArray ours = bench::bodyByTheClient(client);
    std::printf("%lld bytes, %s\n", static_cast<long long>(byQt.size()),
                ours == byQt ? "alike" : "different");
    return ours == byQt ? 0 : 1;
}
