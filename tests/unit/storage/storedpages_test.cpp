// Pages as SQLite writes them, and as a disk spoils them, read without SQLite.

#include "host/storage/storedtables.h"
#include "host/storage/storerecord.h"
#include "tests/support/atcall.h"
#include "tests/unit/storage/scene.h"

#include <QtEndian>

#include <gmock/gmock.h>

#include <cerrno>
#include <limits>

using namespace Qt::StringLiterals;
using storage::Child;
using storage::PageKind;
using storage::StoredRow;
using storage::StorePages;
using storage::TreePage;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

constexpr int pageSize = 4096;
constexpr int headSize = 8;

template <class Number>
void putAt(QByteArray& bytes, qsizetype at, Number number)
{
    qToBigEndian(number, bytes.data() + at);
}

class Raw : public test_support::RawDatabase
{
public:
    explicit Raw(const QString& file, int size = pageSize)
        : RawDatabase(file)
    {
        run(u"PRAGMA page_size=%1"_s.arg(size));
    }
};

/// A file of SQLite's making.
class StoredPages : public test_support::Storage
{
protected:
    StoredPages() { file = storage::dataFile(u"any.sqlite"_s); }

    /// The leaves below that page in their order, each child's last rowid beyond all in it.
    static QList<quint32> leavesBelow(StorePages& pages, quint32 number)
    {
        const auto page = storage::treePage(pages, number);
        EXPECT_TRUE(page) << number;
        if (!page || page->kind == PageKind::TableLeaf || page->kind == PageKind::IndexLeaf)
            return {number};
        QList<quint32> leaves;
        for (const int at : page->cells) {
            const auto child = storage::childAt(*page, at);
            EXPECT_TRUE(child && child->last.has_value() == (page->kind == PageKind::TableInterior));
            leaves += leavesBelow(pages, child.value_or(Child{}).page);
        }
        return leaves + leavesBelow(pages, page->rightmost);
    }
    static quint32 rootOf(const test_support::RawDatabase& database, const QString& name)
    {
        return database.run(u"SELECT rootpage FROM sqlite_master WHERE name = ?"_s, {name})[0][0].toUInt();
    }
    /// All rows below that page, each with its rowid before its values.
    static QList<QVariantList> rowsBelow(StorePages& pages, quint32 number, QSet<quint32>* overflow = nullptr)
    {
        QList<QVariantList> rows;
        for (const quint32 leaf : leavesBelow(pages, number)) {
            const auto page = storage::treePage(pages, leaf);
            for (const int at : page->cells) {
                const StoredRow row = storage::storedRow(pages, *page, at);
                EXPECT_TRUE(row.isWhole && row.rowid);
                rows.append(QVariantList{row.rowid.value_or(0)} + row.values);
                if (overflow)
                    overflow->unite(QSet<quint32>(row.overflow.begin(), row.overflow.end()));
            }
        }
        return rows;
    }
    /// What SQLite says of these pages.
    static QSet<quint32> pagesOf(const test_support::RawDatabase& database, const QString& name,
                                 const QString& kind)
    {
        QSet<quint32> numbers;
        for (const QVariantList& row :
             database.run(u"SELECT pageno FROM dbstat WHERE name = ? AND pagetype = ?"_s, {name, kind}))
            numbers.insert(row[0].toUInt());
        return numbers;
    }

    QString file;
};

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

/// A page that no SQLite has written, as the second of a file.
class CraftedPage : public StoredPages
{
protected:
    CraftedPage() { setPage(QByteArray(pageSize, '\0')); }

    /// With these behind it.
    void setPage(const QByteArray& content, const QByteArray& behind = {})
    {
        QByteArray header(pageSize, '\0');
        header.replace(0, 16, QByteArray("SQLite format 3", 16));
        putAt(header, 16, quint16{pageSize});
        overwrite(u"any.sqlite"_s, header + content + behind);
        pages = std::make_unique<StorePages>(file);
    }
    /// A page of that kind with that many cells, which are at these places.
    static QByteArray page(PageKind kind, const QList<int>& cells)
    {
        QByteArray content(pageSize, '\0');
        content[0] = static_cast<char>(kind);
        putAt(content, 3, static_cast<quint16>(cells.size()));
        const bool isLeaf = kind == PageKind::TableLeaf || kind == PageKind::IndexLeaf;
        for (qsizetype i = 0; i < cells.size(); ++i)
            putAt(content, (isLeaf ? headSize : headSize + 4) + i * 2, static_cast<quint16>(cells[i]));
        return content;
    }
    /// What is read of a leaf's cell of these bytes, which end the page; the pages behind have that content.
    StoredRow rowOf(const QByteArray& cell, const QByteArray& behind = {})
    {
        const int at = pageSize - static_cast<int>(cell.size());
        QByteArray content = page(PageKind::TableLeaf, {at});
        content.replace(at, cell.size(), cell);
        setPage(content, behind);
        const auto leaf = storage::treePage(*pages, 2);
        EXPECT_TRUE(leaf);
        return storage::storedRow(*pages, *leaf, at);
    }
    static QByteArray hex(const char* digits) { return QByteArray::fromHex(digits); }

    std::unique_ptr<StorePages> pages;
};

TEST_F(CraftedPage, OfNoKindOrCutInItsHeadIsNone)
{
    for (int kind = 0; kind < 256; ++kind) {
        QByteArray content(pageSize, '\0');
        content[0] = static_cast<char>(kind);
        setPage(content);
        EXPECT_EQ(storage::treePage(*pages, 2).has_value(),
                  kind == 2 || kind == 5 || kind == 10 || kind == 13)
            << kind;
    }
    setPage(page(PageKind::TableLeaf, {}).first(12));
    EXPECT_TRUE(storage::treePage(*pages, 2));
    setPage(page(PageKind::TableLeaf, {}).first(11));
    EXPECT_FALSE(storage::treePage(*pages, 2));
    EXPECT_FALSE(storage::treePage(*pages, 0));
    EXPECT_FALSE(storage::treePage(*pages, 9));
}

TEST_F(CraftedPage, ThatIsTheFirstHasItsHeadBehindTheFiles)
{
    QByteArray content = page(PageKind::TableLeaf, {});
    content.replace(0, 16, QByteArray("SQLite format 3", 16));
    putAt(content, 16, quint16{pageSize});
    content[100] = static_cast<char>(PageKind::TableInterior);
    putAt(content, 100 + 3, quint16{1});
    putAt(content, 100 + 8, quint32{77});
    putAt(content, 100 + 12, quint16{4000});
    overwrite(u"any.sqlite"_s, content);
    pages = std::make_unique<StorePages>(file);
    const auto first = storage::treePage(*pages, 1);
    ASSERT_TRUE(first);
    EXPECT_EQ(first->kind, PageKind::TableInterior);
    EXPECT_EQ(first->rightmost, 77U);
    EXPECT_THAT(first->cells, ElementsAre(4000));
    overwrite(u"any.sqlite"_s, content.first(111));
    pages = std::make_unique<StorePages>(file);
    EXPECT_FALSE(storage::treePage(*pages, 1));
    overwrite(u"any.sqlite"_s, content.first(112));
    pages = std::make_unique<StorePages>(file);
    EXPECT_TRUE(storage::treePage(*pages, 1));
}

TEST_F(CraftedPage, KnowsWhichPlacesOfItsCellsCanBeRight)
{
    const auto cellsOf = [this](PageKind kind, const QList<int>& cells) {
        setPage(page(kind, cells));
        return storage::treePage(*pages, 2).value_or(TreePage{}).cells;
    };
    EXPECT_THAT(cellsOf(PageKind::TableLeaf, {12, 11, 4095, 4096, 65535, 0, 20}), testing::SizeIs(7));
    // Behind the places themselves, before the end of the page.
    EXPECT_THAT(cellsOf(PageKind::TableLeaf, {12, 11, 4095, 4096}), ElementsAre(0, 0, 4095, 0));
    EXPECT_THAT(cellsOf(PageKind::TableLeaf, {12, 4000}), ElementsAre(12, 4000));
    EXPECT_THAT(cellsOf(PageKind::TableLeaf, {11, 4000}), ElementsAre(0, 4000));
    EXPECT_THAT(cellsOf(PageKind::TableInterior, {16, 15}), ElementsAre(16, 0));
    QByteArray content = page(PageKind::TableLeaf, {});
    putAt(content, 3, static_cast<quint16>((pageSize - headSize) / 2));
    setPage(content);
    EXPECT_TRUE(storage::treePage(*pages, 2)) << "nothing but places";
    putAt(content, 3, static_cast<quint16>((pageSize - headSize) / 2 + 1));
    setPage(content);
    EXPECT_FALSE(storage::treePage(*pages, 2));
    setPage(page(PageKind::TableLeaf, {4000, 14, 14}).first(12)); // the file ends in the places
    EXPECT_THAT(storage::treePage(*pages, 2).value_or(TreePage{}).cells, ElementsAre(0, 0, 0));
    setPage(page(PageKind::TableLeaf, {14, 15, 20}).first(15)); // and behind them
    EXPECT_THAT(storage::treePage(*pages, 2).value_or(TreePage{}).cells, ElementsAre(14, 0, 0));
}

TEST_F(CraftedPage, GivesAWholeRow)
{
    const StoredRow row = rowOf(hex("0405 03010f 2a61"));
    EXPECT_EQ(row.rowid, 5);
    EXPECT_FALSE(row.isWhole) << "the length says one byte less";
    const StoredRow whole = rowOf(hex("0505 03010f 2a 61"));
    EXPECT_EQ(whole.rowid, 5);
    EXPECT_EQ(whole.values, (QVariantList{qint64{42}, u"a"_s}));
    EXPECT_TRUE(whole.isWhole);
    EXPECT_THAT(whole.overflow, IsEmpty());
}

TEST_F(CraftedPage, GivesNoRowWhereTheCellHasNoPlaceOrEndsWithThePage)
{
    setPage(page(PageKind::TableLeaf, {0}));
    const auto leaf = storage::treePage(*pages, 2);
    ASSERT_TRUE(leaf);
    EXPECT_EQ(storage::storedRow(*pages, *leaf, 0).rowid, std::nullopt);
    EXPECT_EQ(rowOf(hex("80")).rowid, std::nullopt);
    EXPECT_EQ(rowOf(hex("05")).rowid, std::nullopt);
    EXPECT_EQ(rowOf(hex("0585")).rowid, std::nullopt);
    EXPECT_EQ(rowOf(hex("0585858585858585")).rowid, std::nullopt);
    const StoredRow row = rowOf(hex("0505"));
    EXPECT_EQ(row.rowid, 5) << "that much can be told";
    EXPECT_FALSE(row.isWhole);
}

TEST_F(CraftedPage, KnowsWhatCannotBeARecord)
{
    struct
    {
        const char* cell;
        QVariantList values;
        const char* what;
    } cases[] = {
        {"0505 7f010f 2a61", {}, "its head is longer than it"},
        {"0405 04010181", {}, "it ends in the middle of a type"},
        {"0405 03 0181 2a", {}, "a type goes on behind the head"},
        {"0305 03 0181", {}, "or behind the record"},
        {"0305 020a 2a", {}, "there is no such type"},
        {"0305 020b 2a", {}, "nor that one"},
        {"0505 030101 2a2b", {qint64{42}, qint64{43}}, ""},
        {"0605 030101 2a2b 2c", {qint64{42}, qint64{43}}, "something is left"},
        {"0405 030101 2a", {qint64{42}}, "something is missing"},
        {"0405 020f ff 00", {}, "no UTF-8"},
        {"0305 020f ff", {}, "no UTF-8"},
    };
    for (const auto& [cell, values, what] : cases) {
        const StoredRow row = rowOf(hex(cell));
        EXPECT_EQ(row.rowid, 5) << cell;
        EXPECT_EQ(row.values, values) << cell << ' ' << what;
        EXPECT_EQ(row.isWhole, *what == '\0') << cell << ' ' << what;
    }
    EXPECT_FALSE(rowOf(hex("0005")).isWhole) << "of no bytes";
    const StoredRow empty = rowOf(hex("0105 01"));
    EXPECT_TRUE(empty.isWhole) << "of no values";
    EXPECT_THAT(empty.values, IsEmpty());
}

TEST_F(CraftedPage, FollowsAContentFromPageToPageToItsEnd)
{
    constexpr int all = 6000;
    constexpr int here = 1908; // as SQLite counts; 4092 in a further page
    const QByteArray record = hex("03dd66") + QByteArray(all - 3, 'x');
    const auto cell = [&](quint32 next) {
        QByteArray bytes = hex("ae70 05") + record.first(here) + QByteArray(4, '\0');
        putAt(bytes, bytes.size() - 4, next);
        return bytes;
    };
    const auto further = [&](quint32 next, char fill = 'x') {
        QByteArray bytes(pageSize, fill);
        putAt(bytes, 0, next);
        return bytes;
    };
    const StoredRow row = rowOf(cell(3), further(0));
    EXPECT_TRUE(row.isWhole);
    EXPECT_THAT(row.overflow, ElementsAre(3U));
    EXPECT_EQ(row.values, QVariantList{QByteArray(all - 3, 'x')});

    EXPECT_FALSE(rowOf(cell(3), further(7)).isWhole) << "it goes on behind its end";
    EXPECT_FALSE(rowOf(cell(4), further(0)).isWhole) << "there is no such page";
    EXPECT_FALSE(rowOf(cell(0), further(0)).isWhole);
    EXPECT_FALSE(rowOf(cell(3), further(0, '\0')).isWhole) << "the page was lost";
    EXPECT_FALSE(rowOf(cell(3), further(0).first(3)).isWhole);
    EXPECT_FALSE(rowOf(cell(3), further(0).first(4000)).isWhole);
    EXPECT_FALSE(rowOf(cell(3)).isWhole) << "the file ends";
    EXPECT_FALSE(rowOf(cell(3).chopped(1), further(0)).isWhole) << "the page ends in the number";
    EXPECT_FALSE(rowOf(cell(3).chopped(5), further(0)).isWhole) << "and before it";
    QByteArray shorter = hex("ae7005 039d6e") + QByteArray(here - 3, 'x') + QByteArray(4, '\0');
    putAt(shorter, shorter.size() - 4, quint32{9});
    const StoredRow part = rowOf(shorter, further(0));
    EXPECT_EQ(part.values, QVariantList{QByteArray(here - 3, 'x')});
    EXPECT_FALSE(part.isWhole) << "all that its head tells of is here, but more belongs to it";
    EXPECT_FALSE(rowOf(hex("ffffffff7f 05") + record.first(here), further(0)).isWhole)
        << "longer than the file";
}

TEST_F(CraftedPage, DoesNotGoRoundInAChainOfPages)
{
    constexpr int here = 1908; // of 10092, and two pages of 4092
    const QByteArray record = hex("04819d5c") + QByteArray(10092 - 4, 'x');
    QByteArray cell = hex("ce6c 05") + record.first(here) + QByteArray(4, '\0');
    putAt(cell, cell.size() - 4, quint32{3});
    const auto further = [](quint32 next) {
        QByteArray bytes(pageSize, 'x');
        putAt(bytes, 0, next);
        return bytes;
    };
    const StoredRow whole = rowOf(cell, further(4) + further(0));
    EXPECT_TRUE(whole.isWhole);
    EXPECT_THAT(whole.overflow, ElementsAre(3U, 4U));
    const StoredRow round = rowOf(cell, further(3) + further(0));
    EXPECT_FALSE(round.isWhole);
    EXPECT_THAT(round.overflow, ElementsAre(3U));
}

TEST_F(CraftedPage, GivesNoChildWhereTheCellHasNoPlaceOrEndsWithThePage)
{
    QByteArray content = page(PageKind::TableInterior, {4090});
    content.replace(4090, 6, hex("00000009 8105"));
    setPage(content);
    const auto interior = storage::treePage(*pages, 2);
    ASSERT_TRUE(interior);
    const auto child = storage::childAt(*interior, 4090);
    ASSERT_TRUE(child);
    EXPECT_EQ(child->page, 9U);
    EXPECT_EQ(child->last, 133);
    EXPECT_FALSE(storage::childAt(*interior, 0));
    EXPECT_FALSE(storage::childAt(*interior, 4092)) << "its rowid is missing";
    EXPECT_FALSE(storage::childAt(*interior, 4093)) << "so is a part of its number";
}

TEST_F(CraftedPage, OfAnIndexHasNoFurtherPagesWhereTheEntryHasNoPlaceOrEndsWithThePage)
{
    for (const PageKind kind : {PageKind::IndexLeaf, PageKind::IndexInterior}) {
        QByteArray content = page(kind, {4000});
        content.replace(4080, 16, QByteArray(16, '\xff'));
        setPage(content);
        const auto index = storage::treePage(*pages, 2);
        ASSERT_TRUE(index);
        for (const int at : {0, 4000, 4085, 4090, 4094, 4095})
            EXPECT_THAT(storage::overflowOfEntry(*pages, *index, at), IsEmpty()) << at;
    }
}

} // namespace
