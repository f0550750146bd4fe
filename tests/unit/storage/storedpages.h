#pragma once

#include "host/storage/storedtables.h"
#include "host/storage/storerecord.h"
#include "tests/support/rawdatabase.h"
#include "tests/unit/storage/scene.h"

#include <QSet>
#include <QtEndian>

/// Pages as SQLite writes them, and as a disk spoils them, read without SQLite.
namespace pages {

inline constexpr int pageSize = 4096;
inline constexpr int headSize = 8;

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
        run(QStringLiteral("PRAGMA page_size=%1").arg(size));
    }
};

/// A file of SQLite's making.
class StoredPages : public test_support::Storage
{
protected:
    StoredPages() { file = storage::dataFile(QStringLiteral("any.sqlite")); }

    /// The leaves below that page in their order, each child's last rowid beyond all in it.
    static QList<quint32> leavesBelow(storage::StorePages& pages, quint32 number)
    {
        const auto page = storage::treePage(pages, number);
        EXPECT_TRUE(page) << number;
        if (!page || page->kind == storage::PageKind::TableLeaf || page->kind == storage::PageKind::IndexLeaf)
            return {number};
        QList<quint32> leaves;
        for (const int at : page->cells) {
            const auto child = storage::childAt(*page, at);
            EXPECT_TRUE(child && child->last.has_value() == (page->kind == storage::PageKind::TableInterior));
            leaves += leavesBelow(pages, child.value_or(storage::Child{}).page);
        }
        return leaves + leavesBelow(pages, page->rightmost);
    }
    static quint32 rootOf(const test_support::RawDatabase& database, const QString& name)
    {
        return database.run(QStringLiteral("SELECT rootpage FROM sqlite_master WHERE name = ?"), {name})[0][0]
            .toUInt();
    }
    /// All rows below that page, each with its rowid before its values.
    static QList<QVariantList> rowsBelow(storage::StorePages& pages, quint32 number,
                                         QSet<quint32>* overflow = nullptr)
    {
        QList<QVariantList> rows;
        for (const quint32 leaf : leavesBelow(pages, number)) {
            const auto page = storage::treePage(pages, leaf);
            for (const int at : page->cells) {
                const storage::StoredRow row = storage::storedRow(pages, *page, at);
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
        for (const QVariantList& row : database.run(
                 QStringLiteral("SELECT pageno FROM dbstat WHERE name = ? AND pagetype = ?"), {name, kind}))
            numbers.insert(row[0].toUInt());
        return numbers;
    }

    QString file;
};

} // namespace pages
