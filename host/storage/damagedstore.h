#pragma once

#include "host/storage/storerecord.h"

#include <QHash>
#include <QSet>

#include <functional>
#include <optional>
#include <vector>

namespace storage {

/// What could not be read of a store, or not be put into another.
struct LostRow
{
    QString table;        ///< empty: not known
    QString key;          ///< "R-17", "12", "page 30"; empty: not known
    QString receipt = {}; ///< of a message: its group
    QString text = {};    ///< of a message: what it is, for the administrator
    QString why;          ///< in English
};

/// The rows of a store's file that may be damaged anywhere, found page by page: by way of its trees, and
/// then wherever else a page looks like one with rows. Each is known by its form, and by its
/// seal where it has one. Writes nothing.
class DamagedStore
{
public:
    /// Throws BasicException when the file can't be read at all.
    explicit DamagedStore(const QString& file);

    /// Whether anything of a store was found in it.
    [[nodiscard]] bool isStore() const { return m_isStore; }

    /// Calls it with each row that is whole, in the order of the rowids, each once. Those that are not whole
    /// are added to what is lost.
    void forEachRow(const QString& table, const std::function<void(qint64 rowid, const QVariantList&)>& take);

    /// What is known to be lost: of rows that were not asked for yet, only what can be told without reading
    /// them.
    [[nodiscard]] const QList<LostRow>& lost() const { return m_lost; }

private:
    struct Owner
    {
        QString table;
        bool isTable = true;
        std::optional<qint64> after; ///< its rowids are higher
        std::optional<qint64> last;  ///< and at most that
        [[nodiscard]] bool has(qint64 rowid) const
        {
            return (!after || rowid > *after) && (!last || rowid <= *last);
        }
    };
    /// One of a row's places.
    struct Place
    {
        qint64 rowid;
        qint64 rank; ///< the highest is the newest
        quint32 page;
        int at;
    };

    void walk();
    void walk(quint32 page, const Owner& owner, int depth = 0);
    void collectPages();
    [[nodiscard]] QVariantList valuesAt(const Place& place);
    void collect(quint32 number, const TreePage& leaf);
    void loseCell(const StoredRow& row, quint32 page);
    void noteOtherPages();
    void noteOverflowOfIndex(const TreePage& page);
    void loseUnreadPages();
    static bool isPlaceOf(const std::vector<StoredRow>& rows, const Owner& owner);
    void noteHomeless(const std::vector<StoredRow>& rows);
    /// The rowids of the leaf's cells: one that is out of order is mended where its neighbours leave one
    /// only.
    static void mendOrder(std::vector<StoredRow>& rows, const Owner& owner);

    StorePages m_pages;
    QHash<quint32, Owner> m_owners;
    QHash<quint32, Owner> m_missing; ///< pages that a tree names but that are none of it
    QSet<quint32> m_misplaced;       ///< pages of a tree with rows that are not of it
    QList<Owner> m_homeless; ///< leaves that are not in their place, each with its first rowid and its last
    QSet<quint32> m_accounted;
    QHash<QString, std::vector<Place>> m_places;
    QList<LostRow> m_lost;
    QSet<QString> m_told;           ///< tables whose lost rows are in it
    std::optional<TreePage> m_read; ///< the page that was read last
    quint32 m_readNumber = 0;
    bool m_isStore = false;
};

} // namespace storage
