#include "host/storage/damagedstore.h"

#include "host/storage/storedtables.h"

#include <QtEndian>

#include <algorithm>
#include <tuple>

using namespace Qt::StringLiterals;

namespace storage {

namespace {

constexpr int deepestTree = 20;
const QString schemaTable = u"sqlite_master"_s;

QString rangeText(const std::optional<qint64>& after, const std::optional<qint64>& last)
{
    if (!after && !last)
        return {};
    const QString from = after ? QString::number(*after + 1) : u"the first"_s;
    return u", which led to the rows from %1 to %2"_s.arg(from,
                                                          last ? QString::number(*last) : u"the last"_s);
}

bool isKept(const QString& table)
{
    return std::any_of(storedTables().cbegin(), storedTables().cend(),
                       [&table](const StoredTable& one) { return one.name == table && one.isKept; });
}

/// With as many of its values as could be read.
LostRow lostRow(const QString& table, const std::optional<qint64>& rowid, const QVariantList& values)
{
    LostRow lost{.table = table, .key = rowid ? QString::number(*rowid) : QString(), .why = {}};
    if (table == u"documents" || table == u"card_records")
        lost.key = values.value(0).toString();
    if (table == u"queued" || table == u"history") {
        lost.receipt = values.value(2).toString();
        lost.text = values.value(5).toString();
    }
    if (table == u"journal")
        lost.receipt = values.value(2).toString();
    return lost;
}

} // namespace

DamagedStore::DamagedStore(const QString& file)
    : m_pages(file)
{
    walk();
    noteOtherPages();
    collectPages();
    loseUnreadPages();
    for (std::vector<Place>& places : m_places) {
        std::sort(places.begin(), places.end(), [](const Place& a, const Place& b) {
            return std::tie(a.rowid, b.rank) < std::tie(b.rowid, a.rank);
        });
    }
}

void DamagedStore::collectPages()
{
    for (quint32 number = 1; number <= m_pages.count(); ++number) {
        const auto page = treePage(m_pages, number);
        if (!page)
            continue;
        m_accounted.insert(number);
        if (page->kind == PageKind::TableLeaf)
            collect(number, *page);
        else if (page->kind != PageKind::TableInterior)
            noteOverflowOfIndex(*page);
    }
}

void DamagedStore::walk()
{
    walk(1, {.table = schemaTable, .after = {}, .last = {}});
    const QList<quint32> schema = m_owners.keys();
    for (const quint32 number : schema) {
        const auto leaf = treePage(m_pages, number);
        if (leaf->kind != PageKind::TableLeaf)
            continue;
        for (const int at : leaf->cells) {
            const StoredRow row = storedRow(m_pages, *leaf, at);
            const StoredTable* form = row.isWhole ? tableOfRow(row.values) : nullptr;
            if (!form || form->name != schemaTable)
                continue;
            const auto root = static_cast<quint32>(row.values[3].toLongLong());
            const bool isTable = row.values[0] == u"table"_s;
            if (root == 0)
                continue;
            walk(root, {.table = row.values[2].toString(), .isTable = isTable, .after = {}, .last = {}});
        }
    }
}

void DamagedStore::walk(quint32 number, const Owner& owner, int depth)
{
    const auto page =
        number == 0 || number > m_pages.count() || depth > deepestTree || m_owners.contains(number)
            ? std::nullopt
            : treePage(m_pages, number);
    const bool fits =
        page && owner.isTable == (page->kind == PageKind::TableLeaf || page->kind == PageKind::TableInterior);
    if (!fits) {
        m_missing.insert(number, owner);
        return;
    }
    m_owners.insert(number, owner);
    if (page->kind == PageKind::TableLeaf || page->kind == PageKind::IndexLeaf)
        return;
    Owner next = owner;
    for (const int at : page->cells) {
        const auto child = childAt(*page, at);
        if (!child)
            continue;
        next.last = child->last;
        walk(child->page, next, depth + 1);
        next.after = child->last;
    }
    next.last = owner.last;
    walk(page->rightmost, next, depth + 1);
}

// What was in free pages was removed, so it is not missed; maps of where pages belong have no rows.
void DamagedStore::noteOtherPages()
{
    constexpr qsizetype firstTrunk = 32;
    constexpr qsizetype vacuums = 52; // not 0 in a file that gives pages back, which has maps for it
    const QByteArray head = m_pages.page(1);
    const bool hasMaps =
        head.size() >= vacuums + 4 && qFromBigEndian<quint32>(head.constData() + vacuums) != 0;
    const auto mapped = static_cast<quint32>(m_pages.size() / 5);
    for (quint32 map = 2; hasMaps && map <= m_pages.count(); map += mapped + 1)
        m_accounted.insert(map);
    quint32 trunk = head.size() < firstTrunk + 4 ? 0 : qFromBigEndian<quint32>(head.constData() + firstTrunk);
    QSet<quint32> passed;
    while (trunk != 0 && trunk <= m_pages.count() && !passed.contains(trunk) && !m_owners.contains(trunk)) {
        passed.insert(trunk);
        const QByteArray page = m_pages.page(trunk);
        if (page.size() < 8)
            break;
        const auto leaves = qFromBigEndian<quint32>(page.constData() + 4);
        if (leaves > static_cast<quint32>(page.size() / 4 - 2))
            break;
        m_accounted.insert(trunk);
        for (quint32 i = 0; i < leaves; ++i)
            m_accounted.insert(qFromBigEndian<quint32>(page.constData() + 8 + i * 4));
        trunk = qFromBigEndian<quint32>(page.constData());
    }
}

void DamagedStore::noteOverflowOfIndex(const TreePage& page)
{
    for (const int at : page.cells) {
        for (const quint32 overflow : overflowOfEntry(m_pages, page, at))
            m_accounted.insert(overflow);
    }
}

/// Whether most of the rows are of that table and of its part of it: else the page lies in the place of
/// another.
bool DamagedStore::isPlaceOf(const std::vector<StoredRow>& rows, const Owner& owner)
{
    const auto fits = [&owner](const StoredRow& row) {
        const StoredTable* table = row.isWhole ? tableOfRow(row.values) : nullptr;
        return table && table->name == owner.table && owner.has(*row.rowid);
    };
    if (rows.empty())
        return !owner.after && !owner.last; // only a tree's one page may have none
    return std::count_if(rows.cbegin(), rows.cend(), fits) * 2 > static_cast<std::ptrdiff_t>(rows.size());
}

void DamagedStore::noteHomeless(const std::vector<StoredRow>& rows)
{
    Owner leaf;
    for (const StoredRow& row : rows) {
        const StoredTable* table = row.isWhole ? tableOfRow(row.values) : nullptr;
        if (!table)
            continue;
        leaf.table = table->name;
        leaf.after = leaf.after.value_or(*row.rowid);
        leaf.last = row.rowid;
    }
    if (leaf.last)
        m_homeless.append(leaf);
}

void DamagedStore::mendOrder(std::vector<StoredRow>& rows, const Owner& owner)
{
    for (std::size_t i = 0; i < rows.size(); ++i) {
        const std::optional<qint64> before = i == 0 ? owner.after : rows[i - 1].rowid;
        std::optional<qint64> behind; // as a choice of two, GCC takes it for uninitialized
        if (i + 1 < rows.size())
            behind = rows[i + 1].rowid;
        std::optional<qint64>& own = rows[i].rowid;
        const bool neighboursAreRight = !before || !behind || *before < *behind;
        const bool fits = own && (!before || *own > *before) && (!behind || *own < *behind) &&
                          (i + 1 != rows.size() || !owner.last || *own <= *owner.last);
        const bool isAnothersToo =
            before && own == *before + 1; // and right here: it is the next one's that is wrong
        if (fits || isAnothersToo || !neighboursAreRight)
            continue;
        if (before)
            own = *before + 1;
        else if (behind)
            own = *behind - 1;
        if (!own || (behind && *own >= *behind)) {
            own.reset();
            rows[i].isWhole = false;
        }
    }
}

void DamagedStore::collect(quint32 number, const TreePage& leaf)
{
    const auto owner = m_owners.constFind(number);
    std::vector<StoredRow> rows;
    rows.reserve(static_cast<std::size_t>(leaf.cells.size()));
    for (const int at : leaf.cells)
        rows.push_back(storedRow(m_pages, leaf, at));
    const bool isItsPlace = owner != m_owners.cend() && isPlaceOf(rows, *owner);
    if (owner != m_owners.cend() && !isItsPlace && isKept(owner->table))
        m_misplaced.insert(number);
    mendOrder(rows, isItsPlace ? *owner : Owner());
    if (!isItsPlace)
        noteHomeless(rows);
    for (std::size_t i = 0; i < rows.size(); ++i) {
        const StoredRow& row = rows[i];
        for (const quint32 overflow : row.overflow)
            m_accounted.insert(overflow);
        const StoredTable* table = row.isWhole ? tableOfRow(row.values) : nullptr;
        if (!table) {
            loseCell(row, number);
            continue;
        }
        m_isStore = m_isStore || table->isKept;
        const bool isOwned = owner != m_owners.cend() && owner->table == table->name;
        constexpr qint64 owned = qint64{1} << 60U;
        m_places[table->name].push_back({.rowid = *row.rowid,
                                         .rank = m_pages.written(number) + (isOwned ? owned : 0),
                                         .page = number,
                                         .at = leaf.cells[static_cast<qsizetype>(i)]});
    }
}

void DamagedStore::loseCell(const StoredRow& row, quint32 page)
{
    const QString table = m_owners.value(page).table;
    if (!table.isEmpty() && !isKept(table))
        return;
    m_lost.append(lostRow(table, row.rowid, row.values));
    m_lost.last().why = u"its row on page %1 is damaged"_s.arg(page);
}

void DamagedStore::loseUnreadPages()
{
    for (const quint32 number : std::as_const(m_misplaced)) {
        const Owner owner = m_owners.value(number);
        const bool isFound = std::any_of(m_homeless.cbegin(), m_homeless.cend(), [&](const Owner& leaf) {
            return leaf.table == owner.table && owner.has(*leaf.after) && owner.has(*leaf.last);
        });
        if (!isFound)
            m_missing.insert(number, owner);
    }
    QList<quint32> numbers = m_missing.keys();
    for (quint32 number = 1; number <= m_pages.count(); ++number) {
        if (!m_accounted.contains(number) && !m_missing.contains(number))
            numbers.append(number);
    }
    std::sort(numbers.begin(), numbers.end());
    for (const quint32 number : numbers) {
        const auto missing = m_missing.constFind(number);
        const bool isKnown = missing != m_missing.cend();
        if (isKnown && (!missing->isTable || !isKept(missing->table)))
            continue;
        const QString range = isKnown ? rangeText(missing->after, missing->last) : QString();
        m_lost.append({.table = isKnown ? missing->table : QString(),
                       .key = u"page %1"_s.arg(number),
                       .why = isKnown
                                  ? u"the page is damaged%1; those that were found were taken"_s.arg(range)
                                  : u"the page is damaged; what was on it is not known"_s});
    }
    if (m_pages.isLogDamaged())
        m_lost.append({.table = {},
                       .key = u"the log"_s,
                       .why = u"it is damaged in the middle; what was kept last may be missing"_s});
}

QVariantList DamagedStore::valuesAt(const Place& place)
{
    if (m_readNumber != place.page) {
        m_read = treePage(m_pages, place.page);
        m_readNumber = place.page;
    }
    return storedRow(m_pages, m_read.value(), place.at).values;
}

void DamagedStore::forEachRow(const QString& table,
                              const std::function<void(qint64 rowid, const QVariantList&)>& take)
{
    const std::vector<Place>& places = m_places[table];
    const bool isFirstTime = !m_told.contains(table);
    m_told.insert(table);
    for (std::size_t i = 0; i < places.size();) {
        const qint64 rowid = places[i].rowid;
        QSet<QByteArray> taken;
        std::optional<LostRow> lost;
        for (; i < places.size() && places[i].rowid == rowid; ++i) {
            const QVariantList values = valuesAt(places[i]);
            const QByteArray identity = identityOfRow(table, values);
            if (taken.contains(identity))
                continue; // an older page has it too
            const QString fault = faultOfRow(table, values);
            if (fault.isEmpty()) {
                taken.insert(identity);
                take(rowid, values);
            } else if (!lost) {
                lost = lostRow(table, rowid, values);
                lost->why = fault;
            }
        }
        if (isFirstTime && taken.isEmpty())
            m_lost.append(lost.value());
    }
}

} // namespace storage
