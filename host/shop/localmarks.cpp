#include "host/shop/localmarks.h"

#include "host/storage/store.h"
#include "host/utils/currenttime.h"

using namespace Qt::StringLiterals;

namespace shop {

namespace {

bool hasMarks(const storage::Database& store)
{
    return !store.rows(u"SELECT 1 FROM sqlite_master WHERE name = 'stuck'"_s).isEmpty();
}

} // namespace

// A family may have been removed since.
QList<StuckReceipt> stuckReceipts()
{
    const auto store = storage::store();
    QList<StuckReceipt> stuck;
    if (!hasMarks(*store))
        return stuck;
    for (const QVariantList& row :
         store->rows(u"SELECT receipt, till FROM stuck WHERE EXISTS "
                     "(SELECT 1 FROM documents WHERE identifier = stuck.receipt) ORDER BY rowid"_s))
        stuck.append({row[0].toString(), row[1].toString()});
    return stuck;
}

LocalMarks::LocalMarks()
    : m_store(storage::store())
{
    if (!hasMarks(*m_store)) {
        m_store->atomically([this] {
            m_store->change(u"CREATE TABLE IF NOT EXISTS moving (family TEXT PRIMARY KEY)"_s, {});
            m_store->change(
                u"CREATE TABLE IF NOT EXISTS moved (receipt TEXT PRIMARY KEY, time INTEGER NOT NULL)"_s, {});
            m_store->change(u"CREATE TABLE IF NOT EXISTS stuck (family TEXT PRIMARY KEY, receipt TEXT NOT "
                            "NULL, till TEXT NOT NULL)"_s,
                            {});
        });
    }
}

bool LocalMarks::isMoving(const QString& family) const
{
    return !m_store->rows(u"SELECT 1 FROM moving WHERE family = ?"_s, {family}).isEmpty();
}

QStringList LocalMarks::moving() const
{
    QStringList families;
    for (const QVariantList& row : m_store->rows(u"SELECT family FROM moving ORDER BY rowid"_s))
        families.append(row[0].toString());
    return families;
}

void LocalMarks::begin(const QString& family) const
{
    m_store->change(u"INSERT OR IGNORE INTO moving (family) VALUES (?)"_s, {family});
}

void LocalMarks::giveUp(const QString& family) const
{
    m_store->change(u"DELETE FROM moving WHERE family = ?"_s, {family});
}

void LocalMarks::giveUp(const QString& family, const StuckReceipt& stuck) const
{
    giveUp(family);
    m_store->change(u"INSERT OR REPLACE INTO stuck (family, receipt, till) VALUES (?, ?, ?)"_s,
                    {family, stuck.receipt, stuck.till});
}

void LocalMarks::finish(const QString& family, const QStringList& receipts) const
{
    const qint64 now = MockFactory<CurrentTime>::create()->currentDateTime().toMSecsSinceEpoch();
    for (const QString& receipt : receipts)
        m_store->change(u"INSERT OR REPLACE INTO moved (receipt, time) VALUES (?, ?)"_s, {receipt, now});
    giveUp(family);
    m_store->change(u"DELETE FROM stuck WHERE family = ?"_s, {family});
}

bool LocalMarks::hasMoved(const QString& receipt) const
{
    return !m_store->rows(u"SELECT 1 FROM moved WHERE receipt = ?"_s, {receipt}).isEmpty();
}

void LocalMarks::forgetBefore(qint64 time) const
{
    m_store->change(u"DELETE FROM moved WHERE time < ?"_s, {time});
}

bool hasMovedOn(const QString& receipt)
{
    return hasMarks(*storage::store()) && LocalMarks().hasMoved(receipt);
}

} // namespace shop
