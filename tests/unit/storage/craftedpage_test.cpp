#include "tests/unit/storage/storedpages.h"

#include <gmock/gmock.h>

#include <memory>

using namespace Qt::StringLiterals;
using storage::PageKind;
using storage::StoredRow;
using storage::StorePages;
using storage::TreePage;
using testing::ElementsAre;
using testing::IsEmpty;

namespace pages {

namespace {

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

} // namespace pages
