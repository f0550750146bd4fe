#include "host/shop/moving.h"

#include "host/core/document.h"
#include "host/shop/familylock.h"
#include "host/shop/places.h"
#include "host/storage/removal.h"
#include "host/storage/store.h"
#include "host/utils/logging.h"
#include "host/utils/utc.h"

#include <QCryptographicHash>
#include <QDataStream>
#include <QIODevice>
#include <QUuid>

#include <algorithm>
#include <utility>

using namespace Qt::StringLiterals;

namespace shop {

namespace {

constexpr int messagesAtOnce = 200;
constexpr int familiesAtOnce = 20;
constexpr qsizetype entriesAtOnce = 500;

/// Another receipt of the same identifier is there.
class Taken : public DatabaseError
{
public:
    explicit Taken(const StuckReceipt& receipt)
        : DatabaseError(Fault::Refused,
                        u"it has another receipt %1, of till %2"_s.arg(receipt.receipt, receipt.till))
        , m_receipt(receipt)
    {}
    [[nodiscard]] const StuckReceipt& receipt() const { return m_receipt; }

private:
    StuckReceipt m_receipt;
};

/// The same for the same values, whoever asks and when: a version 8 UUID, as its makers leave free.
QString identityOf(const QVariantList& values)
{
    QByteArray bytes;
    QDataStream out(&bytes, QIODevice::WriteOnly);
    out.setVersion(QDataStream::Qt_6_4);
    out << values;
    const QByteArray sum = QCryptographicHash::hash(bytes, QCryptographicHash::Sha256);
    return QUuid::fromRfc4122(sum.left(16)).toString(QUuid::WithoutBraces);
}

QDate monthOfTime(const QVariant& milliseconds)
{
    const QDate day = utils::utcFromMilliseconds(milliseconds.toLongLong()).date();
    return {day.year(), day.month(), 1};
}

QString written(const QDate& month) { return month.toString(Qt::ISODate); }

} // namespace

Moving::Moving(QString till, Connection& database)
    : m_till(std::move(till))
    , m_database(database)
    , m_store(storage::store())
{}

// The messages first: who finds a sale there may rely on its messages being there too.
bool Moving::step() { return moveMessages() || moveFamilies(); }

bool Moving::moveMessages()
{
    const QList<QVariantList> waiting = messages(u"ORDER BY id LIMIT ?"_s, {messagesAtOnce});
    if (waiting.isEmpty())
        return false;
    m_database.begin();
    try {
        putMessages(waiting);
        m_database.write();
        m_database.commit();
    } catch (...) {
        m_database.rollback();
        throw;
    }
    m_store->atomically([&] { removeMessages(waiting); });
    wakeDeliveries();
    return true;
}

QList<QVariantList> Moving::messages(const QString& where, const QVariantList& values) const
{
    return m_store->rows(
        u"SELECT id, queue, receipt, enqueued, message, text, parked, attempts, error, due FROM queued "_s +
            where,
        values);
}

void Moving::putMessages(const QList<QVariantList>& messages)
{
    for (const QVariantList& row : messages) {
        const QString identity = identityOf({m_till, row[1], row[2], row[3], row[4]});
        m_database.run(u"SELECT put_message($1, $2, $3, $4, $5, $6, $7, $8, $9, $10, $11, $12)"_s,
                       {identity, written(monthOfTime(row[3])), m_till, row[1], row[2], row[3], row[4],
                        row[5], row[6].toBool(), row[7], row[8], row[9]});
    }
}

// A commit that tells of itself keeps all others from committing until a standby has it.
void Moving::wakeDeliveries() noexcept
{
    try {
        m_database.run(u"NOTIFY kyr_queue"_s);
    } catch (const DatabaseError&) {
        // They look by themselves, too.
    }
}

void Moving::removeMessages(const QList<QVariantList>& messages) const
{
    for (const QVariantList& row : messages)
        m_store->change(u"DELETE FROM queued WHERE id = ?"_s, {row[0]});
}

bool Moving::moveFamilies()
{
    const Departure departure = departing();
    if (departure.families.isEmpty())
        return false;
    try {
        move(departure);
        m_oneByOne = false;
    } catch (const Taken& failure) {
        m_oneByOne = true;
        if (departure.families.size() > 1)
            return true;
        const QString family = departure.families.first();
        m_stuck.append(family);
        m_store->atomically([&] { m_marks.giveUp(family, failure.receipt()); });
        utils::logger(u"shop"_s)->error(u"Receipt %1 stays at this till: "_s.arg(family) + failure.tr().ru());
    }
    return true;
}

/// Marks them, so that nobody changes here what may be there already.
Moving::Departure Moving::departing()
{
    Departure departure;
    m_store->atomically([&] {
        departure.known = m_marks.moving();
        QStringList& families = departure.families;
        QStringList staying = storage::openFamilies() + m_stuck;
        for (const QVariantList& row :
             m_store->rows(u"SELECT DISTINCT receipt FROM queued"_s)) // put in meanwhile
            staying.append(row[0].toString());
        const qsizetype most = m_oneByOne ? 1 : familiesAtOnce;
        families = departure.known.first(std::min(most, departure.known.size()));
        const auto add = [&](const QString& sql) {
            const QList<QVariantList> found =
                families.size() < most ? m_store->rows(sql, {most + staying.size() + families.size()})
                                       : QList<QVariantList>();
            for (const QVariantList& row : found) {
                const QString family = row[0].toString();
                if (families.size() < most && !families.contains(family) && !staying.contains(family))
                    families.append(family);
            }
        };
        add(u"SELECT CASE sale WHEN '' THEN identifier ELSE sale END AS family FROM documents GROUP BY "
            u"family "
            "ORDER BY min(stored), min(rowid) LIMIT ?"_s);
        // Of receipts that were never closed.
        add(u"SELECT receipt FROM journal WHERE receipt NOT IN (SELECT identifier FROM documents) "
            "GROUP BY receipt ORDER BY min(id) LIMIT ?"_s);
        add(u"SELECT receipt FROM history GROUP BY receipt ORDER BY min(id) LIMIT ?"_s);
        for (const QString& family : families)
            m_marks.begin(family);
    });
    return departure;
}

void Moving::stay(const Departure& departure) const
{
    m_store->atomically([&] {
        for (const QString& family : departure.families) {
            if (!departure.known.contains(family))
                m_marks.giveUp(family);
        }
    });
}

void Moving::move(const Departure& departure)
{
    QList<Luggage> all;
    bool mayBeDone = false;
    try {
        m_database.begin();
        for (const QString& family : departure.families) {
            lockFamily(m_database, family);
            all.append(packed(family));
            put(all.last());
        }
        m_database.write();
        mayBeDone = true;
        m_database.commit();
    } catch (...) {
        m_database.rollback();
        if (!mayBeDone)
            stay(departure);
        throw;
    }
    m_store->atomically([&] {
        for (const Luggage& luggage : all)
            remove(luggage);
    });
}

void Moving::carry(const QString& family)
{
    const Luggage luggage = packed(family);
    const auto its = messages(u"WHERE receipt = ? AND receipt <> '' ORDER BY id"_s, {family});
    putMessages(its);
    put(luggage);
    m_database.write();
    removeMessages(its);
    remove(luggage);
}

Moving::Luggage Moving::packed(const QString& family) const
{
    Luggage luggage{family, {}, {}, {}, {}};
    luggage.documents =
        m_store->rows(u"SELECT identifier, stored, sale, content FROM documents WHERE identifier = ? "
                      "UNION ALL SELECT identifier, stored, sale, content FROM documents "
                      "WHERE sale = ? AND sale <> '' ORDER BY stored"_s,
                      {family, family});
    QStringList receipts{family};
    for (const QVariantList& document : luggage.documents)
        receipts.append(document[0].toString());
    receipts.removeDuplicates();
    for (const QString& receipt : receipts) {
        luggage.cards += m_store->rows(
            u"SELECT document, kind, revision, content FROM card_records WHERE document = ?"_s, {receipt});
        luggage.journal +=
            m_store->rows(u"SELECT id, time, receipt, event, operation, message, code, detail, milliseconds "
                          "FROM journal WHERE receipt = ? ORDER BY id"_s,
                          {receipt});
    }
    luggage.history = m_store->rows(
        u"SELECT id, queue, receipt, enqueued, finished, text, attempts, error, outcome, answer, "
        "message FROM history WHERE receipt = ? ORDER BY id"_s,
        {family});
    return luggage;
}

void Moving::put(const Luggage& luggage)
{
    const QDate month = monthOf(luggage);
    m_database.run(u"SELECT ensure_month($1)"_s, {written(month)});
    for (const QVariantList& document : luggage.documents)
        putDocument(month, document);
    for (const QVariantList& row : luggage.cards)
        m_database.run(u"INSERT INTO card_records VALUES ($1, $2, $3, $4, $5) ON CONFLICT DO NOTHING"_s,
                       QVariantList{written(month)} + row);
    putJournal(month, luggage.journal);
    for (const QVariantList& row : luggage.history) {
        const QString identity = identityOf({m_till, row[0], row[1], row[2], row[3], row[4], row[8]});
        m_database.run(
            u"INSERT INTO history SELECT $1::date, -nextval('entries'), $2::uuid, $3::text, $4::text, "
            "$5::text, $6::bigint, $7::bigint, $8::text, $9::integer, $10::text, $11::text, "
            "$12::integer, $13::bytea WHERE NOT EXISTS (SELECT FROM history WHERE month = $1::date AND "
            "identity = "
            "$2::uuid)"_s,
            QVariantList{written(month), identity, m_till} + row.sliced(1));
    }
}

// Half of what a receipt consists of: by themselves they would be half of what the database is asked.
void Moving::putJournal(const QDate& month, const QList<QVariantList>& entries)
{
    for (qsizetype first = 0; first < entries.size(); first += entriesAtOnce) {
        QStringList places;
        QVariantList values{written(month), m_till};
        for (const QVariantList& entry : entries.mid(first, entriesAtOnce)) {
            QStringList own{u"$1"_s, u"$2"_s};
            for (qsizetype i = 1; i <= entry.size(); ++i)
                own.append(u'$' + QString::number(values.size() + i));
            places.append(u'(' + own.join(u", "_s) + u')');
            values += entry;
        }
        m_database.run(
            u"INSERT INTO journal (month, till, id, time, receipt, event, operation, message, code, "
            "detail, milliseconds) VALUES "_s +
                places.join(u", "_s) + u" ON CONFLICT DO NOTHING"_s,
            values);
    }
}

// A return lies with its sale, which may be there already.
QDate Moving::monthOf(const Luggage& luggage)
{
    const QVariant place = placeOf(m_database, luggage.family);
    if (!place.isNull())
        return QDate::fromString(place.toString(), Qt::ISODate);
    for (const auto& [times, column] :
         {std::pair(luggage.documents, 1), std::pair(luggage.journal, 1), std::pair(luggage.history, 4)}) {
        if (!times.isEmpty())
            return monthOfTime(times.first()[column]);
    }
    return monthOfTime(0); // of nothing
}

void Moving::putDocument(const QDate& month, const QVariantList& document)
{
    const QVariant place = placeOf(m_database, document[0].toString());
    if (place.isNull()) {
        m_database.run(u"INSERT INTO documents (month, till, identifier, stored, sale, content) "
                       "VALUES ($1, $2, $3, $4, $5, $6)"_s,
                       QVariantList{written(month), m_till} + document);
        return;
    }
    const QVariantList there =
        m_database
            .run(
                u"SELECT content = $3 AND till = $4, till FROM documents WHERE month = $1 AND identifier = $2"_s,
                {place, document[0], document[3], m_till})
            .rows.value(0);
    if (!there.value(0).toBool())
        throw Taken({document[0].toString(), there.value(1).toString()});
}

void Moving::remove(const Luggage& luggage) const
{
    QStringList receipts;
    for (const QVariantList& row : luggage.cards)
        m_store->change(u"DELETE FROM card_records WHERE document = ? AND kind = ?"_s, {row[0], row[1]});
    for (const QVariantList& row : luggage.documents) {
        m_store->change(u"DELETE FROM documents WHERE identifier = ?"_s, {row[0]});
        receipts.append(row[0].toString());
    }
    for (const QVariantList& row : luggage.journal)
        m_store->change(u"DELETE FROM journal WHERE id = ?"_s, {row[0]});
    for (const QVariantList& row : luggage.history)
        m_store->change(u"DELETE FROM history WHERE id = ?"_s, {row[0]});
    m_marks.finish(luggage.family, receipts);
}

} // namespace shop
