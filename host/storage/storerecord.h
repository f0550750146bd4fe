#pragma once

#include "host/storage/storepages.h"
#include "host/utils/export.h"

#include <QList>
#include <QVariantList>

#include <optional>

/// How rows lie in the pages of a database file, by SQLite's documented format. What is read may be damaged:
/// each function gives nothing where the bytes can't be what SQLite wrote.
namespace storage {

enum class PageKind {
    IndexInterior = 2,
    TableInterior = 5,
    IndexLeaf = 10,
    TableLeaf = 13,
};

/// The head of a page of a tree.
struct TreePage
{
    QByteArray bytes;
    PageKind kind = PageKind::TableLeaf;
    QList<int> cells;      ///< where each begins; 0: its place was damaged
    quint32 rightmost = 0; ///< an interior's last child
};

/// Nothing when the page's first byte is no kind's.
HOST_EXPORT std::optional<TreePage> treePage(StorePages& pages, quint32 number);

/// A row of a table.
struct StoredRow
{
    std::optional<qint64> rowid;
    QVariantList values;     ///< null, qint64, double, QString or QByteArray
    QList<quint32> overflow; ///< the further pages that it lies on
    bool isWhole = false;
};

/// The row that begins there in a leaf. One that isn't whole has what could still be told of it.
HOST_EXPORT StoredRow storedRow(StorePages& pages, const TreePage& leaf, int at);

/// The pages that an entry of an index lies on beside its own.
HOST_EXPORT QList<quint32> overflowOfEntry(StorePages& pages, const TreePage& page, int at);

/// The child before the cell of an interior page, and, of a table's, the highest rowid in it.
struct Child
{
    quint32 page = 0;
    std::optional<qint64> last;
};
HOST_EXPORT std::optional<Child> childAt(const TreePage& interior, int at);

} // namespace storage
