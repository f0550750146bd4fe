#include "tests/unit/shop/scene.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

using namespace Qt::StringLiterals;

namespace test_support {

namespace {

/// How many pages of 8 KiB the statement looks at.
int pagesOf(const Postgres& server, const QString& statement)
{
    const QString told =
        server.sql(u"SET search_path = kyr; EXPLAIN (ANALYZE, BUFFERS, FORMAT JSON) "_s + statement);
    const QJsonObject plan = QJsonDocument::fromJson(told.toUtf8())[0][u"Plan"_s].toObject();
    EXPECT_TRUE(plan.contains(u"Shared Hit Blocks"_s)) << told.toStdString();
    return plan[u"Shared Hit Blocks"_s].toInt() + plan[u"Shared Read Blocks"_s].toInt();
}

} // namespace

/// Whoever brings goods back waits for it, and so does each message that is delivered.
TEST_F(Shop, FindsWhatItLooksForWithoutReadingAll)
{
    server.sql(
        u"SET search_path = kyr; SELECT ensure_month('2026-03-01');"
        "INSERT INTO documents SELECT '2026-03-01', 'R-' || i, '1', i, CASE WHEN i % 10 = 0 THEN 'S-' || i "
        "ELSE '' END, '' FROM generate_series(1, 20000) i;"
        "INSERT INTO card_records SELECT '2026-03-01', 'R-' || i, 12, 0, '' FROM generate_series(1, 20000) i;"
        "INSERT INTO journal SELECT '2026-03-01', '1', i, i, 'R-' || i, '', '', 0, 0, '', 0 "
        "FROM generate_series(1, 20000) i;"
        "INSERT INTO history SELECT '2026-03-01', i, gen_random_uuid(), '1', '', 'R-' || i, 0, 0, '', 0, '', "
        "'delivered', 0, NULL FROM generate_series(1, 20000) i;"
        "ANALYZE documents, card_records, journal, history"_s);
    for (const auto& statement :
         {u"SELECT content, till FROM documents WHERE identifier = 'R-7777'"_s,
          u"SELECT content, revision FROM card_records WHERE document = 'R-7777'"_s,
          u"SELECT identifier, content FROM documents WHERE sale = 'S-7770' AND sale <> ''"_s,
          u"SELECT month FROM places WHERE identifier = 'R-7777'"_s,
          u"SELECT month FROM history WHERE id = 7777"_s,
          u"SELECT event FROM journal WHERE receipt = 'R-7777'"_s})
        EXPECT_LE(pagesOf(server, statement), 10) << statement.toStdString();
}

/// A statement that looks in all months takes locks in all, and with many tills these are what everybody
/// waits for.
TEST_F(Shop, WorksInTheTablesOfAReceiptsMonthAlone)
{
    const QString other = u"documents_2020_01, card_records_2020_01, journal_2020_01, history_2020_01"_s;
    server.sql(u"SELECT kyr.ensure_month('2020-01-01')"_s);
    shop::Connection somebody(server.address());
    somebody.begin();
    somebody.run(u"LOCK TABLE "_s + other);

    closeReceipt(richSale(u"R-1"_s));
    enqueue(u"R-1"_s);
    moveOn();
    closeReceipt(returnOf(u"R-1"_s, u"V-1"_s)); // its sale is there already
    moveOn();
    shop::ShopQueue queue(server.address());
    const QDateTime now = QDateTime::currentDateTimeUtc();
    const auto message = queue.nextDue(now, now);
    ASSERT_TRUE(message);
    EXPECT_TRUE(queue.delivered(message->id, {}));

    workAt(u"2"_s);
    shop::ShopDocuments documents(u"2"_s, server.address());
    const auto sale = documents.loadDocument(u"R-1"_s, false);
    ASSERT_TRUE(sale);
    EXPECT_EQ(documents.returnsOf(u"R-1"_s).size(), 1);
    documents.saveCardRecord(sale->getCardRecord(KyrLoyaltySystem));
    EXPECT_EQ(
        server.sql(u"SELECT event FROM kyr.journal_%1 WHERE till = ''"_s.arg(now.toString(u"yyyy_MM"_s))),
        u"delivered");
}

TEST_F(Shop, FindsNoReceiptThatIsGone)
{
    closeReceipt(richSale(u"R-1"_s));
    closeReceipt(richSale(u"R-2"_s));
    moveOn();
    server.sql(u"DELETE FROM kyr.documents WHERE identifier = 'R-1'"_s);
    EXPECT_EQ(server.sql(u"SELECT identifier FROM kyr.places"_s), u"R-2");
    workAt(u"2"_s);
    shop::ShopDocuments documents(u"2"_s, server.address());
    EXPECT_FALSE(documents.loadDocument(u"R-1"_s, false));
    EXPECT_TRUE(documents.loadDocument(u"R-2"_s, false));
}

} // namespace test_support
