#include "host/storage/journal.h"

#include "host/storage/store.h"
#include "host/utils/currenttime.h"
#include "host/utils/masking.h"
#include "host/utils/utc.h"

#include <QSet>

#include <limits>

using namespace Qt::StringLiterals;

namespace storage {

struct Journal::Statements
{
    std::shared_ptr<Database> database = store();
    QSqlQuery insert = database->prepared(
        u"INSERT INTO journal (time, receipt, event, operation, message, code, detail, milliseconds) "
        "VALUES (?, ?, ?, ?, ?, ?, ?, ?)"_s);
    QSqlQuery select =
        database->prepared(u"SELECT time, receipt, event, operation, message, code, detail, milliseconds "
                           "FROM journal WHERE receipt = ? ORDER BY id"_s);
    QSqlQuery latest =
        database->prepared(u"SELECT id, receipt FROM journal WHERE id < ? ORDER BY id DESC LIMIT ?"_s);
};

Journal::Journal()
    : m(std::make_unique<Statements>())
{}

Journal::~Journal() = default;

void Journal::add(const JournalEntry& entry)
{
    const QDateTime time =
        entry.time.isValid() ? entry.time : MockFactory<CurrentTime>::create()->currentDateTime();
    m->database->insert(m->insert, {time.toMSecsSinceEpoch(), entry.receipt, entry.event,
                                    utils::maskNumbers(entry.operation), entry.message, entry.code,
                                    utils::maskNumbers(entry.detail), entry.milliseconds});
}

QList<JournalEntry> Journal::of(const QString& receipt) const
{
    QList<JournalEntry> result;
    const QString searched = receipt.isNull() ? u""_s : receipt;
    for (const QVariantList& row : m->database->rows(m->select, {searched}))
        result.append(entryFromRow(row));
    return result;
}

JournalEntry entryFromRow(const QVariantList& row)
{
    return {utils::utcFromMilliseconds(row[0].toLongLong()),
            row[1].toString(),
            row[2].toString(),
            row[3].toString(),
            row[4].toLongLong(),
            row[5].toInt(),
            row[6].toString(),
            row[7].toLongLong()};
}

// Walks back from the end instead of grouping all that ever happened.
QList<QString> Journal::receipts(int limit) const
{
    constexpr int pageSize = 1000;
    QList<QString> result;
    QSet<QString> seen;
    qint64 before = std::numeric_limits<qint64>::max();
    for (;;) {
        const QList<QVariantList> page = m->database->rows(m->latest, {before, pageSize});
        for (const QVariantList& row : page) {
            if (result.size() >= limit)
                return result;
            before = row[0].toLongLong();
            const QString receipt = row[1].toString();
            if (seen.contains(receipt))
                continue;
            seen.insert(receipt);
            result.append(receipt);
        }
        if (page.size() < pageSize)
            return result;
    }
}

} // namespace storage
