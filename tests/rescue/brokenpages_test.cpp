// One page of a store after the other, broken in one way: what is still found, and what is told.

#include "host/storage/rescue.h"
#include "tests/rescue/scene.h"
#include "tests/support/rawdatabase.h"

#include <QtEndian>

#include <gmock/gmock.h>

using namespace Qt::StringLiterals;
using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;

namespace rescuetest {

namespace {

constexpr int receipts = 600;         // whose journal takes several pages
constexpr int entries = receipts + 1; // of the journal

/// A store that nobody has open, page by page.
class BrokenPages : public TwoStores
{
protected:
    static constexpr int pageSize = 4096;

    /// Fills it, folds its log into it and reads it.
    template <class Fill>
    void keep(Fill fill)
    {
        goToTheOther();
        fill();
        goBack();
        QFile file(otherFile());
        ASSERT_TRUE(file.open(QIODevice::ReadOnly));
        content = file.readAll();
    }
    /// Of the journal's pages the first has so few rows that a number of one byte tells each.
    void keepReceipts()
    {
        keep([] {
            storage::Journal().add({.time = {},
                                    .receipt = u"R-0"_s,
                                    .event = u"opened"_s,
                                    .operation = {},
                                    .detail = QString(2000, u'x')});
            sellMany(receipts);
        });
    }
    /// The numbers of the pages of that kind, in the order of their rows.
    [[nodiscard]] QList<quint32> pagesOf(const QString& name, const QString& kind = u"leaf"_s) const
    {
        QList<quint32> numbers;
        for (const QVariantList& row :
             test_support::RawDatabase(otherFile())
                 .run(u"SELECT pageno FROM dbstat WHERE name = ? AND pagetype = ? ORDER BY path"_s,
                      {name, kind}))
            numbers.append(row[0].toUInt());
        return numbers;
    }
    [[nodiscard]] quint32 count() const
    {
        return static_cast<quint32>((content.size() + pageSize - 1) / pageSize);
    }
    static qsizetype at(quint32 page) { return qsizetype{page - 1} * pageSize; }
    [[nodiscard]] QByteArray page(quint32 number) const { return content.sliced(at(number), pageSize); }
    void setPage(quint32 number, const QByteArray& bytes) { content.replace(at(number), pageSize, bytes); }
    quint32 append(const QByteArray& bytes)
    {
        content += bytes;
        return count();
    }
    template <class Number>
    void put(qsizetype place, Number number)
    {
        qToBigEndian(number, content.data() + place);
    }
    /// Where a page's pointer to its how many-th cell lies.
    [[nodiscard]] qsizetype pointer(quint32 page, int cell) const
    {
        const bool isLeaf = content[at(page)] == 13 || content[at(page)] == 10;
        return at(page) + (isLeaf ? 8 : 12) + 2 * cell;
    }
    [[nodiscard]] int cellsOf(quint32 page) const
    {
        return qFromBigEndian<quint16>(content.constData() + at(page) + 3);
    }
    /// The rowid of a cell, which has one byte, behind a size of one byte.
    [[nodiscard]] qsizetype rowid(quint32 page, int cell) const
    {
        const auto place = qFromBigEndian<quint16>(content.constData() + pointer(page, cell));
        EXPECT_GT(content[at(page) + place], 0) << "a size of more bytes";
        return at(page) + place + 1;
    }
    static QByteArray interior(quint32 rightmost)
    {
        QByteArray bytes(pageSize, '\0');
        bytes[0] = 5;
        qToBigEndian(rightmost, bytes.data() + 8);
        return bytes;
    }
    /// How many rows of that table come out, into a new store.
    qsizetype taken(const QString& table)
    {
        storage::setDataDirectory(outer().filePath(u"rescued-%1"_s.arg(++m_rescues)));
        QFile file(otherFile());
        EXPECT_TRUE(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
        file.write(content);
        file.close();
        rescued = storage::rescue(otherFile());
        const auto found = std::find_if(rescued.tables.cbegin(), rescued.tables.cend(),
                                        [&table](const auto& one) { return one.table == table; });
        return found == rescued.tables.cend() ? -1 : found->taken;
    }
    /// "documents R-1: why"
    [[nodiscard]] QStringList lost() const
    {
        QStringList told;
        for (const storage::LostRow& row : rescued.lost)
            told.append((row.table + u' ' + row.key).simplified() + u": "_s + row.why);
        return told;
    }
    static QString ledTo(quint32 page, const QString& rows)
    {
        return u"journal page %1: the page is damaged, which led to the rows from %2; those that were found were taken"_s
            .arg(page)
            .arg(rows);
    }

    QByteArray content;
    storage::Rescued rescued;

private:
    int m_rescues = 0;
};

TEST_F(BrokenPages, OfAnIndexAreNotMissed)
{
    keepReceipts();
    for (const QString& index : {u"sqlite_autoindex_documents_1"_s, u"journal_receipt"_s}) {
        const auto leaves = pagesOf(index);
        ASSERT_GT(leaves.size(), 1);
        setPage(leaves[1], QByteArray(pageSize, '\0'));
    }
    EXPECT_EQ(taken(u"documents"_s), receipts);
    EXPECT_THAT(lost(), IsEmpty());
}

TEST_F(BrokenPages, ThatAreGoneAreToldWithTheRowsThatTheyHad)
{
    keepReceipts();
    const auto leaves = pagesOf(u"journal"_s);
    ASSERT_GT(leaves.size(), 2);
    const int first = cellsOf(leaves[0]);
    const int second = cellsOf(leaves[1]);
    const int last = cellsOf(leaves.last());
    const QByteArray whole = content;
    const QByteArray gone(pageSize, '\0');

    setPage(leaves.last(), gone);
    EXPECT_EQ(taken(u"journal"_s), entries - last);
    EXPECT_THAT(lost(), Contains(ledTo(leaves.last(), u"%1 to the last"_s.arg(entries - last + 1))));
    content = whole;
    setPage(leaves[1], gone);
    taken(u"journal"_s);
    EXPECT_THAT(lost(), Contains(ledTo(leaves[1], u"%1 to %2"_s.arg(first + 1).arg(first + second))));
    content = whole;
    setPage(leaves[0], gone);
    taken(u"journal"_s);
    EXPECT_THAT(lost(), Contains(ledTo(leaves[0], u"the first to %1"_s.arg(first))));
}

TEST_F(BrokenPages, ToWhichNobodyLeadsAnyMoreAreFoundAllTheSame)
{
    keepReceipts();
    const quint32 root = pagesOf(u"journal"_s, u"internal"_s).value(0);
    ASSERT_NE(root, 0U);
    const quint32 orphan = pagesOf(u"journal"_s)[1];
    put(pointer(root, 1), quint16{0});
    const int broken = 3;
    put(pointer(orphan, broken), quint16{0});
    EXPECT_EQ(taken(u"journal"_s), entries - 1);
    ASSERT_EQ(lost().size(), 1);
    EXPECT_EQ(rescued.lost[0].table, QString()) << "nobody says of which table";
    EXPECT_EQ(rescued.lost[0].why, u"its row on page %1 is damaged"_s.arg(orphan));
}

TEST_F(BrokenPages, ToWhichAPageWithoutANumberShouldLeadAreFoundAllTheSame)
{
    keepReceipts();
    put(at(pagesOf(u"journal"_s, u"internal"_s).value(0)) + 8, quint32{0});
    EXPECT_EQ(taken(u"journal"_s), entries);
    ASSERT_EQ(lost().size(), 1);
    EXPECT_TRUE(lost()[0].startsWith(u"journal page 0: "_s));
}

TEST_F(BrokenPages, ThatGoDownForEverAreLeft)
{
    keepReceipts();
    quint32 next = append(QByteArray(pageSize, '\0'));
    for (int i = 0; i < 30; ++i)
        next = append(interior(next));
    setPage(pagesOf(u"clock"_s)[0], interior(next));
    EXPECT_EQ(taken(u"journal"_s), entries);
    EXPECT_EQ(taken(u"documents"_s), receipts);
}

TEST_F(BrokenPages, ThatLieInEachOthersPlaceAreBothFound)
{
    keepReceipts();
    const quint32 leaf = pagesOf(u"journal"_s)[1];
    const quint32 ofIndex = pagesOf(u"journal_receipt"_s)[1];
    const QByteArray before = page(leaf);
    setPage(leaf, page(ofIndex));
    setPage(ofIndex, before);
    EXPECT_EQ(taken(u"journal"_s), entries);
}

TEST_F(BrokenPages, ThatAreFreeOrOnlySaidToBeAreNoneOfTheRows)
{
    keepReceipts();
    const quint32 root = pagesOf(u"journal"_s, u"internal"_s).value(0);
    const QByteArray whole = content;
    constexpr qsizetype firstTrunk = 32;
    const auto takenWithTrunk = [&](const QByteArray& bytes) {
        content = whole;
        const quint32 trunk = append(bytes);
        put(firstTrunk, trunk);
        return taken(u"journal"_s);
    };
    const auto trunk = [](quint32 next, quint32 leaves) {
        QByteArray bytes(pageSize, '\0');
        qToBigEndian(next, bytes.data());
        qToBigEndian(leaves, bytes.data() + 4);
        return bytes;
    };
    EXPECT_EQ(takenWithTrunk(trunk(0, 0)), entries);
    EXPECT_THAT(lost(), IsEmpty());
    const quint32 own = count();
    EXPECT_EQ(takenWithTrunk(trunk(own, 0)), entries) << "round and round";
    EXPECT_THAT(lost(), IsEmpty());
    takenWithTrunk(trunk(root, 0));
    EXPECT_THAT(lost(), IsEmpty()) << "it ends where a tree begins";
    takenWithTrunk(trunk(0, 0xffffffff));
    EXPECT_THAT(lost(), ElementsAre(u"page %1: the page is damaged; what was on it is not known"_s.arg(own)));
    takenWithTrunk(trunk(0, pageSize / 4 - 2));
    EXPECT_THAT(lost(), IsEmpty()) << "as many as there can be";
    takenWithTrunk(trunk(0, pageSize / 4 - 1));
    EXPECT_THAT(lost(), testing::SizeIs(1));
    takenWithTrunk(trunk(0, 0).first(7));
    EXPECT_THAT(lost(), testing::SizeIs(1)) << "cut";
    takenWithTrunk(trunk(0, 0).first(8));
    EXPECT_THAT(lost(), IsEmpty());
}

TEST_F(BrokenPages, OfAHeaderThatSaysNothingOfItsMapsLoseNoRow)
{
    keepReceipts();
    constexpr qsizetype vacuums = 52;
    put(vacuums, quint32{0});
    EXPECT_EQ(taken(u"journal"_s), entries);
    EXPECT_EQ(taken(u"documents"_s), receipts);
}

TEST_F(BrokenPages, OnWhichALongNumberOfAReceiptGoesOnAreNotMissed)
{
    keep([] {
        for (int i = 0; i < 5; ++i)
            sell(QString(3000, u'x') + QString::number(i));
    });
    ASSERT_FALSE(pagesOf(u"sqlite_autoindex_documents_1"_s, u"overflow"_s).isEmpty());
    EXPECT_EQ(taken(u"documents"_s), 5);
    EXPECT_THAT(lost(), IsEmpty());
}

TEST_F(BrokenPages, ThatLostAllTheirCellsAreToldWhereverTheyAre)
{
    keepReceipts();
    const auto leaves = pagesOf(u"journal"_s);
    const QByteArray whole = content;
    for (const quint32 leaf : {leaves.first(), leaves[1], leaves.last()}) {
        content = whole;
        put(at(leaf) + 3, quint16{0});
        taken(u"journal"_s);
        ASSERT_GE(lost().size(), 1);
        EXPECT_THAT(lost().filter(u"journal page"_s), testing::SizeIs(1));
        EXPECT_TRUE(lost().filter(u"journal page"_s).value(0).startsWith(u"journal page %1: "_s.arg(leaf)));
    }
}

TEST_F(BrokenPages, WithAnotherTablesRowsAreToldUnlessTheyFollowFromTheOthers)
{
    keepReceipts();
    const auto leaves = pagesOf(u"journal"_s);
    const quint32 clock = pagesOf(u"clock"_s)[0];
    setPage(clock, page(leaves[0]));
    EXPECT_EQ(taken(u"journal"_s), entries) << "each row once";
    EXPECT_THAT(lost(), IsEmpty());
    setPage(leaves[0], page(pagesOf(u"tally"_s)[0]));
    taken(u"journal"_s);
    EXPECT_THAT(lost(), IsEmpty()) << "all of the page's rows are in the clock's place";
    const qsizetype last = rowid(clock, cellsOf(clock) - 1);
    content[last] = 127;
    taken(u"journal"_s);
    EXPECT_THAT(lost().filter(u"journal page %1: "_s.arg(leaves[0])), testing::SizeIs(1))
        << "what is there goes beyond what the page had";
}

TEST_F(BrokenPages, OfWhatFollowsFromTheOthersAreNotTold)
{
    keepReceipts();
    for (const QString& table : {u"clock"_s, u"tally"_s})
        put(pointer(pagesOf(table)[0], 0), quint16{0});
    EXPECT_EQ(taken(u"journal"_s), entries);
    EXPECT_THAT(lost(), IsEmpty());
}

TEST_F(BrokenPages, WithABrokenRowOfWhatFollowsFromTheOthersDoNotTellIt)
{
    keepReceipts();
    for (const QString& table : {u"clock"_s, u"tally"_s})
        content[rowid(pagesOf(table)[0], 0) + 1] = 127; // its head would be longer than the row
    EXPECT_EQ(taken(u"journal"_s), entries);
    EXPECT_THAT(lost(), IsEmpty());
}

TEST_F(BrokenPages, WithTheSameBrokenRowTwiceTellItOnce)
{
    keep([] { sell(u"R-1"_s); });
    test_support::flipABit(otherFile(), u"documents"_s, u"content"_s, u"identifier = 'R-1'"_s);
    keep([] {});
    setPage(pagesOf(u"clock"_s)[0], page(pagesOf(u"documents"_s)[0]));
    EXPECT_EQ(taken(u"documents"_s), 0);
    EXPECT_THAT(lost(), ElementsAre(u"documents R-1: its content is damaged"_s));
}

TEST_F(BrokenPages, OfTheListOfTablesThatIsLongAreReadToTheLast)
{
    keepReceipts();
    for (int i = 0; i < 4; ++i)
        test_support::RawDatabase(otherFile())
            .run(u"CREATE TABLE more%1 (x /* %2 */)"_s.arg(i).arg(QString(1500, u'x')));
    keep([] {});
    ASSERT_GT(pagesOf(u"sqlite_schema"_s).size() + pagesOf(u"sqlite_master"_s).size(), 1);
    EXPECT_EQ(taken(u"documents"_s), receipts);
    EXPECT_THAT(lost(), IsEmpty());
}

TEST_F(BrokenPages, OfTheListOfTablesThatAreBrokenCostNoRow)
{
    keepReceipts();
    for (int i = 0; i < 4; ++i)
        test_support::RawDatabase(otherFile())
            .run(u"CREATE TABLE more%1 (x /* %2 */)"_s.arg(i).arg(QString(1500, u'x')));
    keep([] {});
    const auto leaves = pagesOf(u"sqlite_schema"_s) + pagesOf(u"sqlite_master"_s);
    ASSERT_GT(leaves.size(), 1);
    put(pointer(leaves[0], 1), quint16{0});
    setPage(leaves[1], page(pagesOf(u"journal"_s)[1]));
    EXPECT_EQ(taken(u"documents"_s), receipts);
    EXPECT_EQ(taken(u"journal"_s), entries);
}

/// Of six entries of one receipt's journal.
class BrokenOrder : public BrokenPages
{
protected:
    void SetUp() override
    {
        keep([] {
            for (int i = 1; i <= 6; ++i)
                storage::Journal().add({.time = {},
                                        .receipt = u"R"_s,
                                        .event = u"request"_s,
                                        .operation = QString::number(i),
                                        .detail = {}});
        });
        leaf = pagesOf(u"journal"_s).value(0);
        ASSERT_EQ(cellsOf(leaf), 6);
    }
    /// With these numbers of its rows.
    QString orderWith(const QList<int>& rowids)
    {
        const QByteArray whole = content;
        for (int i = 0; i < 6; ++i)
            content[rowid(leaf, i)] = static_cast<char>(rowids[i]);
        taken(u"journal"_s);
        content = whole;
        QString order;
        for (const auto& entry : storage::Journal().of(u"R"_s))
            order += entry.operation;
        return order;
    }

    quint32 leaf = 0;
};

TEST_F(BrokenOrder, IsMendedWhereOneNumberIsWrongAndTheNeighboursLeaveOne)
{
    EXPECT_EQ(orderWith({1, 2, 3, 4, 5, 6}), u"123456"_s);
    EXPECT_EQ(orderWith({1, 2, 99, 4, 5, 6}), u"123456"_s);
    EXPECT_EQ(orderWith({1, 2, 1, 4, 5, 6}), u"123456"_s);
    EXPECT_EQ(orderWith({1, 2, 2, 4, 5, 6}), u"123456"_s);
    EXPECT_EQ(orderWith({1, 2, 4, 4, 5, 6}), u"123456"_s);
    EXPECT_EQ(orderWith({99, 2, 3, 4, 5, 6}), u"123456"_s) << "the first";
    EXPECT_EQ(orderWith({1, 2, 3, 4, 5, 1}), u"123456"_s) << "the last";
    EXPECT_THAT(lost(), IsEmpty());
}

TEST_F(BrokenOrder, IsNotMendedByANeighbourThatIsWrongItself)
{
    EXPECT_EQ(orderWith({1, 5, 7, 3, 9, 11}), u"123456"_s) << "the third stays what it is";
    EXPECT_THAT(lost(), IsEmpty());
}

TEST_F(BrokenOrder, WhereThereIsNoNumberLeftLosesTheRow)
{
    EXPECT_EQ(orderWith({1, 2, 9, 3, 5, 6}), u"12456"_s);
    EXPECT_THAT(lost(), testing::SizeIs(1));
}

TEST_F(BrokenOrder, IsMendedAtTheEndOfAPageByWhatThePageMayHold)
{
    keepReceipts();
    const auto leaves = pagesOf(u"journal"_s);
    const int last = cellsOf(leaves[0]) - 1;
    const qsizetype place = rowid(leaves[0], last);
    ASSERT_LT(content[place], 120);
    const auto order = [this] {
        taken(u"journal"_s);
        QStringList receiptsInOrder;
        for (const QVariantList& row : storage::store()->rows(u"SELECT receipt FROM journal ORDER BY id"_s))
            receiptsInOrder.append(row[0].toString());
        return receiptsInOrder;
    };
    const QStringList whole = order();
    content[place] = 127;
    EXPECT_EQ(order(), whole);
    EXPECT_THAT(lost(), IsEmpty());
}

TEST_F(BrokenPages, WhoseOnlyCellHasNoPlaceTellOfNoNumber)
{
    keep([] {
        sell(u"R-0"_s);
        leaveOpen(u"R-1"_s);
    });
    const quint32 leaf = pagesOf(u"open_receipt"_s)[0];
    put(pointer(leaf, 0), quint16{0});
    EXPECT_EQ(taken(u"open_receipt"_s), 0);
    EXPECT_THAT(lost(), Contains(u"open_receipt: its row on page %1 is damaged"_s.arg(leaf)));
}

} // namespace

} // namespace rescuetest
