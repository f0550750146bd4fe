#include "tests/support/atcall.h"
#include "tests/unit/storage/storedpages.h"

#include <gmock/gmock.h>

#include <limits>

using namespace Qt::StringLiterals;
using storage::PageKind;
using storage::StorePages;
using testing::ElementsAre;

namespace pages {

namespace {

TEST_F(StoredPages, GiveEachRowAsItWasPut)
{
    QList<QVariantList> put;
    {
        const Raw database(file);
        database.run(u"CREATE TABLE t (id INTEGER PRIMARY KEY, value)"_s);
        QVariantList values{
            QVariant(),           0.5, -1e300, u"чай"_s, u""_s, u"x"_s.repeated(200), "bytes"_ba,
            QByteArray("\0\1", 2)};
        for (int bits = 0; bits < 63; ++bits) {
            const qint64 power = qint64{1} << bits;
            for (const qint64 value : {power - 1, power, -power, -power - 1})
                values.append(value);
        }
        values.append(std::numeric_limits<qint64>::max());
        values.append(std::numeric_limits<qint64>::min());
        for (const QVariant& value : std::as_const(values)) {
            // The rowids are of every length, too.
            const qint64 id =
                put.size() % 2 == 0 ? put.size() : qint64{1} << std::min<qsizetype>(put.size() / 4, 62);
            if (!database.run(u"SELECT 1 FROM t WHERE id = ?"_s, {id}).isEmpty())
                continue;
            database.run(u"INSERT INTO t VALUES (?, ?)"_s, {id, value});
            put.append({id, QVariant(), value});
        }
        for (const qint64 id :
             {qint64{-1}, std::numeric_limits<qint64>::min(), std::numeric_limits<qint64>::max()}) {
            database.run(u"INSERT INTO t VALUES (?, 1)"_s, {id});
            put.append({id, QVariant(), qint64{1}});
        }
    }
    std::sort(put.begin(), put.end(),
              [](const auto& a, const auto& b) { return a[0].toLongLong() < b[0].toLongLong(); });
    StorePages pages(file);
    const QList<QVariantList> rows = rowsBelow(pages, 2);
    ASSERT_EQ(rows.size(), put.size());
    for (qsizetype i = 0; i < rows.size(); ++i)
        EXPECT_EQ(rows[i], put[i]) << i;
}

TEST_F(StoredPages, GiveContentOfEveryLengthThatGoesOnInFurtherPages)
{
    // Up to five small pages; of usual ones where an index, and where a table, needs another.
    for (const auto& [size, lengths] :
         {std::pair(512, u"1 AND 2600"_s), std::pair(4096, u"980 AND 1020"_s),
          std::pair(4096, u"4040 AND 4110"_s), std::pair(4096, u"8140 AND 8200"_s)}) {
        SCOPED_TRACE(lengths.toStdString());
        QFile::remove(file);
        const Raw database(file, size);
        database.run(u"CREATE TABLE first (value BLOB)"_s); // whose leaves tell the size of the pages
        database.run(u"WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n WHERE i < 100) "
                     "INSERT INTO first SELECT zeroblob(%1) FROM n"_s.arg(size / 2));
        database.run(u"CREATE TABLE t (value BLOB)"_s);
        database.run(u"CREATE INDEX i ON t (value)"_s);
        database.run(u"WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n WHERE i < 9000) "
                     "INSERT INTO t SELECT CAST(printf('%.*c', i, 'x') AS BLOB) FROM n WHERE i BETWEEN "_s +
                     lengths);
        StorePages pages(file);
        ASSERT_EQ(pages.size(), size);
        QSet<quint32> overflow;
        const auto rows = rowsBelow(pages, rootOf(database, u"t"_s), &overflow);
        const int least = lengths.section(u' ', 0, 0).toInt();
        ASSERT_EQ(rows.size(), lengths.section(u' ', 2).toInt() - least + 1);
        for (qsizetype i = 0; i < rows.size(); ++i)
            EXPECT_EQ(rows[i][1].toByteArray(), QByteArray(least + i, 'x')) << i;
        EXPECT_EQ(overflow, pagesOf(database, u"t"_s, u"overflow"_s));

        QSet<quint32> ofIndex;
        const auto inner = pagesOf(database, u"i"_s, u"internal"_s);
        const auto leaves = pagesOf(database, u"i"_s, u"leaf"_s);
        ASSERT_FALSE(inner.isEmpty());
        for (const quint32 number : inner + leaves) {
            const auto page = storage::treePage(pages, number);
            ASSERT_TRUE(page);
            EXPECT_EQ(page->kind, inner.contains(number) ? PageKind::IndexInterior : PageKind::IndexLeaf);
            for (const int at : page->cells) {
                for (const quint32 next : storage::overflowOfEntry(pages, *page, at))
                    ofIndex.insert(next);
            }
        }
        EXPECT_EQ(ofIndex, pagesOf(database, u"i"_s, u"overflow"_s));
        const auto below = leavesBelow(pages, rootOf(database, u"i"_s));
        EXPECT_EQ(QSet<quint32>(below.begin(), below.end()), leaves);
    }
}

TEST_F(StoredPages, AreOfTheSizeThatMostOfThemLookLike)
{
    for (const int size : {512, 1024, 8192, 65536}) {
        SCOPED_TRACE(size);
        QFile::remove(file);
        {
            const Raw database(file, size);
            database.run(u"CREATE TABLE t (value BLOB)"_s);
            database.run(u"WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n WHERE i < 400) "
                         "INSERT INTO t SELECT zeroblob(%1) FROM n"_s.arg(size / 3));
        }
        EXPECT_EQ(StorePages(file).size(), size);
        QByteArray content = bytes(u"any.sqlite"_s);
        for (const int said : {256, 1000, 4096}) { // what is none, and what no page looks like
            putAt(content, 16, static_cast<quint16>(said));
            overwrite(u"any.sqlite"_s, content);
            EXPECT_EQ(StorePages(file).size(), pageSize) << said;
        }
    }
}

TEST_F(StoredPages, AreAsManyAsFileLogAndAHeaderThatIsBelievedSay)
{
    {
        const Raw database(file);
        database.run(u"CREATE TABLE t (value)"_s);
    }
    const QByteArray whole = bytes(u"any.sqlite"_s);
    ASSERT_EQ(whole.size(), 2 * pageSize);
    EXPECT_EQ(StorePages(file).count(), 2);
    overwrite(u"any.sqlite"_s, whole + 'x');
    EXPECT_EQ(StorePages(file).count(), 3) << "a part of a page";
    QByteArray said = whole;
    putAt(said, 28, quint32{7});
    overwrite(u"any.sqlite"_s, said);
    EXPECT_EQ(StorePages(file).count(), 7) << "the others are missing";
    putAt(said, 28, quint32{2 + (1U << 20) - 1});
    overwrite(u"any.sqlite"_s, said);
    EXPECT_EQ(StorePages(file).count(), 2 + (1U << 20) - 1);
    for (const quint32 unbelievable : {2U + (1U << 20), 1U, 0U}) {
        putAt(said, 28, unbelievable);
        overwrite(u"any.sqlite"_s, said);
        EXPECT_EQ(StorePages(file).count(), 2) << unbelievable;
    }
    putAt(said, 28, quint32{7});
    putAt(said, 92, quint32{99});
    overwrite(u"any.sqlite"_s, said);
    EXPECT_EQ(StorePages(file).count(), 2) << "it was written by a program that knows no such count";
    overwrite(u"any.sqlite"_s, whole.first(95));
    EXPECT_EQ(StorePages(file).count(), 1);
    EXPECT_EQ(StorePages(file).page(1).size(), 95);
}

TEST_F(StoredPages, AreEmptyWhereThereIsNone)
{
    {
        const Raw database(file);
        database.run(u"CREATE TABLE t (value)"_s);
    }
    StorePages pages(file);
    EXPECT_EQ(pages.page(0), QByteArray());
    EXPECT_EQ(pages.page(1).size(), pageSize);
    EXPECT_EQ(pages.page(2), bytes(u"any.sqlite"_s).sliced(pageSize));
    EXPECT_EQ(pages.page(3), QByteArray());
    EXPECT_EQ(pages.page(std::numeric_limits<quint32>::max()), QByteArray());
}

TEST_F(StoredPages, AreToldToBeMissingOrNotToBeRead)
{
    EXPECT_EQ(failure([this] { const StorePages pages(file); }), u"hostStorageFailed"_s);
    overwrite(u"any.sqlite"_s, "x");
    const test_support::AtCall refused("open", test_support::failing(EACCES));
    EXPECT_EQ(failure([this] { const StorePages pages(file); }), u"hostStorageDenied"_s);
}

TEST_F(StoredPages, OfTheLogTakeThePlaceOfTheFilesWhereTheirCommitIsWhole)
{
    const Raw database(file);
    database.run(u"PRAGMA journal_mode=WAL"_s);
    database.run(u"CREATE TABLE t (value)"_s);
    database.run(u"PRAGMA wal_checkpoint(TRUNCATE)"_s);
    database.run(u"INSERT INTO t VALUES ('first')"_s);
    const QByteArray one = bytes(u"any.sqlite-wal"_s);
    database.run(u"INSERT INTO t VALUES ('second')"_s);
    const QByteArray two = bytes(u"any.sqlite-wal"_s);
    ASSERT_GT(two.size(), one.size());
    const auto values = [this](const QByteArray& log) {
        const QString copy = path(u"copy.sqlite"_s);
        QFile::remove(copy);
        EXPECT_TRUE(QFile::copy(file, copy));
        overwrite(u"copy.sqlite-wal"_s, log);
        StorePages pages(copy);
        EXPECT_EQ(pages.written(2) > 0, !rowsBelow(pages, 2).isEmpty());
        QStringList result{pages.isLogDamaged() ? u"damaged"_s : u"whole"_s};
        for (const QVariantList& row : rowsBelow(pages, 2))
            result.append(row[1].toString());
        return result;
    };
    EXPECT_THAT(values({}), ElementsAre(u"whole"_s));
    EXPECT_THAT(values(one), ElementsAre(u"whole"_s, u"first"_s));
    EXPECT_THAT(values(two), ElementsAre(u"whole"_s, u"first"_s, u"second"_s));
    EXPECT_THAT(values(two.chopped(1)), ElementsAre(u"whole"_s, u"first"_s)) << "the second is cut short";
    QByteArray torn = two;
    torn.back() = static_cast<char>(torn.back() ^ 1);
    EXPECT_THAT(values(torn), ElementsAre(u"whole"_s, u"first"_s)) << "nobody was promised a last commit";
    torn = two;
    torn[one.size() - 1] = static_cast<char>(torn[one.size() - 1] ^ 1);
    EXPECT_THAT(values(torn), ElementsAre(u"damaged"_s, u"first"_s, u"second"_s));
}

} // namespace

} // namespace pages
