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
          u"SELECT month FROM history WHERE id = 7777"_s,
          u"SELECT event FROM journal WHERE receipt = 'R-7777'"_s})
        EXPECT_LE(pagesOf(server, statement), 10) << statement.toStdString();
}

} // namespace test_support
