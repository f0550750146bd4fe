#include "bench/shopbench.h"
#include "bench/shopreceipts.h"
#include "bench/shopserver.h"
#include "host/shop/moving.h"
#include "host/shop/schema.h"
#include "host/shop/shopdocuments.h"
#include "host/storage/datadirectory.h"
#include "host/storage/documentcodec.h"
#include "tests/support/stillclock.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <vector>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

constexpr double bound = 3;
constexpr qint64 few = 10'000;
constexpr int passes = 5;

/// What a lookup took, in microseconds.
struct Took
{
    std::vector<double> first; ///< when nobody had asked for the sale before
    std::vector<double> again;
};

/// A database with so many receipts over so many months, on a server that has others too.
class Filled
{
public:
    Filled(const ShopServer& server, const QString& name, qint64 receipts, int months, int asked)
        : m_address(server.address().replace(u"/shop?"_s, u'/' + name + u'?'))
        , m_database(m_address, {.statement = 2h})
        , m_documents(u"2"_s, m_address)
    {
        server.run(u"CREATE DATABASE "_s + name);
        prepare(m_database);
        sell(months, asked);
        m_database.runAll(
            u"CREATE FUNCTION pg_temp.name(month date, every bigint, i bigint) RETURNS text LANGUAGE sql "
            "RETURN to_char(month + i * every * interval '1 millisecond', 'YYMMDD-HH24MISS-') || i % 200"_s);
        for (int i = 0; i < months; ++i)
            fill(firstOf(i), receipts / months);
        m_database.runAll(u"ANALYZE"_s);
    }

    /// Looks for a sale and its return as a till does that has to take back more of it.
    double lookFor(qsizetype which)
    {
        const auto start = std::chrono::steady_clock::now();
        const auto sale = m_documents.loadDocument(m_sales[which], false);
        const auto returns = m_documents.returnsOf(m_sales[which]);
        const std::chrono::duration<double, std::micro> took = std::chrono::steady_clock::now() - start;
        if (!sale || sale->getGoodsItems().size() != 8 || !sale->hasCardRecord(KyrLoyaltySystem) ||
            returns.size() != 1)
            qFatal("%s is not found, or not as it was", qPrintable(m_sales[which]));
        return took.count();
    }
    void take(Took& took)
    {
        for (qsizetype which = 0; which < m_sales.size(); ++which)
            (m_isNew ? took.first : took.again).push_back(lookFor(which));
        m_isNew = false;
    }

private:
    static QDate firstOf(int monthsAgo)
    {
        const QDate day = QDate::currentDate().addMonths(-monthsAgo);
        return {day.year(), day.month(), 1};
    }
    /// Those that are asked for, each with a return, the way a till puts them in.
    void sell(int months, int asked)
    {
        const QTemporaryDir store;
        const QString before = QFileInfo(storage::dataFile(u"."_s)).absoluteFilePath();
        storage::setDataDirectory(store.path());
        test_support::StillClock clock(firstOf(months - 1).startOfDay(Qt::UTC));
        const std::chrono::milliseconds all = 24h * firstOf(months - 1).daysTo(QDate::currentDate());
        ClosedReceipts till;
        for (int i = 0; i < asked; ++i) {
            clock.move(all / asked);
            const QString name = clock.now().toString(u"yyMMdd-hhmmss"_s);
            till.close(ordinarySale(name + u"-s"_s));
            till.close(ordinaryReturn(name + u"-r"_s, name + u"-s"_s));
            m_sales.append(name + u"-s"_s);
        }
        shop::Moving moving(u"1"_s, m_database);
        while (moving.step()) {
        }
        storage::setDataDirectory(before);
    }
    /// What 200 tills have closed in that month: every tenth is a return, every second has a card. Made by
    /// the server, for it would take a till hours.
    void fill(const QDate& month, qint64 receipts)
    {
        const auto sale = ordinarySale(u"261101-100000-100"_s);
        const QString first = month.toString(Qt::ISODate);
        const qint64 every = 28 * std::chrono::milliseconds(24h).count() / std::max<qint64>(1, receipts);
        m_database.begin(); // what is put into a table of the same transaction needs no log
        m_database.run(u"SELECT ensure_month($1)"_s, {first});
        m_database.run(
            u"INSERT INTO documents SELECT $1::date, pg_temp.name($1, $2, i), (i % 200)::text, "
            "(extract(epoch FROM $1::date) * 1000)::bigint + i * $2, CASE i % 10 WHEN 9 THEN "
            "pg_temp.name($1, $2, i - 1) ELSE '' END, $3::bytea FROM generate_series(1, $4::bigint) AS i"_s,
            {first, every, documentcodec::written(*sale), receipts});
        m_database.run(u"INSERT INTO card_records SELECT $1::date, pg_temp.name($1, $2, i), $3, 1, $4::bytea "
                       "FROM generate_series(2, $5::bigint, 2) AS i"_s,
                       {first, every, static_cast<int>(KyrLoyaltySystem),
                        documentcodec::written(*sale->getCardRecord(KyrLoyaltySystem)), receipts});
        m_database.commit();
    }

    QString m_address;
    shop::Connection m_database;
    shop::ShopDocuments m_documents;
    QStringList m_sales;
    bool m_isNew = true;
};

} // namespace

bool measureLookup(qint64 receipts, const QList<int>& months)
{
    const QTemporaryDir asking;
    storage::setDataDirectory(asking.path());
    const ShopServer server(0, false, {u"wal_level=minimal"_s, u"max_wal_senders=0"_s, u"fsync=off"_s});
    bool holds = true;
    const auto asked = static_cast<int>(std::clamp<qint64>(receipts / 50, 20, 240));
    Filled least(server, u"least"_s, few, months.first(), asked);
    for (const int count : months) {
        std::array<Took, 3> took;
        qint64 size = 0;
        {
            Filled little(server, u"little"_s, few, count, asked);
            Filled much(server, u"much"_s, receipts, count, asked);
            size = server.number(u"SELECT pg_database_size('much')"_s);
            for (int pass = 0; pass < passes; ++pass) {
                least.take(took[0]);
                little.take(took[1]);
                much.take(took[2]);
            }
        }
        server.run(u"DROP DATABASE little WITH (FORCE)"_s);
        server.run(u"DROP DATABASE much WITH (FORCE)"_s);
        const double ratio = median(took[2].again) / median(took[1].again);
        holds &= ratio <= bound;
        std::printf(
            "%lld receipts over %d months, %lld bytes each: %.2f times what it takes among %lld (bound "
            "%.0f), "
            "a sale that nobody has asked for before %.2f times; among these %.2f times what it takes over "
            "%d months\n",
            static_cast<long long>(receipts), count,
            static_cast<long long>(size / std::max<qint64>(1, receipts)), ratio, static_cast<long long>(few),
            bound, median(took[2].first) / median(took[1].again),
            median(took[1].again) / median(took[0].again), months.first());
        std::fflush(stdout);
    }
    return holds;
}
