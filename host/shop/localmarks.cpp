#include "host/shop/localmarks.h"

#include "host/storage/store.h"
#include "host/utils/currenttime.h"

using namespace Qt::StringLiterals;

namespace shop {

LocalMarks::LocalMarks()
    : m_store(storage::store())
{
    if (rows(u"SELECT 1 FROM sqlite_master WHERE name = 'moved'"_s).isEmpty()) {
        m_store->atomically([this] {
            change(u"CREATE TABLE IF NOT EXISTS moving (family TEXT PRIMARY KEY)"_s, {});
            change(u"CREATE TABLE IF NOT EXISTS moved (receipt TEXT PRIMARY KEY, time INTEGER NOT NULL)"_s,
                   {});
        });
    }
}

bool LocalMarks::isMoving(const QString& family) const
{
    return !rows(u"SELECT 1 FROM moving WHERE family = ?"_s, {family}).isEmpty();
}

QStringList LocalMarks::moving() const
{
    QStringList families;
    for (const QVariantList& row : rows(u"SELECT family FROM moving ORDER BY rowid"_s))
        families.append(row[0].toString());
    return families;
}

void LocalMarks::begin(const QString& family) const
{
    change(u"INSERT OR IGNORE INTO moving (family) VALUES (?)"_s, {family});
}

void LocalMarks::giveUp(const QString& family) const
{
    change(u"DELETE FROM moving WHERE family = ?"_s, {family});
}

void LocalMarks::finish(const QString& family, const QStringList& receipts) const
{
    const qint64 now = MockFactory<CurrentTime>::create()->currentDateTime().toMSecsSinceEpoch();
    for (const QString& receipt : receipts)
        change(u"INSERT OR REPLACE INTO moved (receipt, time) VALUES (?, ?)"_s, {receipt, now});
    giveUp(family);
}

bool LocalMarks::hasMoved(const QString& receipt) const
{
    return !rows(u"SELECT 1 FROM moved WHERE receipt = ?"_s, {receipt}).isEmpty();
}

void LocalMarks::forgetBefore(qint64 time) const { change(u"DELETE FROM moved WHERE time < ?"_s, {time}); }

QList<QVariantList> LocalMarks::rows(const QString& sql, const QVariantList& values) const
{
    QSqlQuery query = m_store->prepared(sql);
    return m_store->rows(query, values);
}

void LocalMarks::change(const QString& sql, const QVariantList& values) const
{
    QSqlQuery statement = m_store->prepared(sql);
    m_store->change(statement, values);
}

} // namespace shop
