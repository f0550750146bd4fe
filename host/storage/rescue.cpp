#include "host/storage/rescue.h"

#include "host/storage/documentcodec.h"
#include "host/storage/openreceipt.h"
#include "host/storage/rescuedmessages.h"
#include "host/storage/store.h"
#include "host/storage/storedtables.h"

#include <optional>
#include <utility>

using namespace Qt::StringLiterals;

namespace storage {

namespace {

using Fate = RescueTally::Fate;

/// One rescue: from the file, into the store.
class Rescue
{
public:
    Rescue(DamagedStore& from, const Database& to)
        : m_from(from)
        , m_to(to)
        , m_messages(from, to)
    {}

    Rescued run()
    {
        takeDocuments();
        takeCardRecords();
        m_messages.take(m_tally);
        takeJournal();
        closeOpenReceipt();
        takeOpenReceipt();
        m_messages.keepNumbers();
        return told();
    }

private:
    void takeDocuments();
    void takeCardRecords();
    void takeJournal();
    /// A receipt that is open in the store, but that the file has closed, is closed.
    void closeOpenReceipt();
    void takeOpenReceipt();
    void noteEntry(const QVariantList& entry);
    void missWhatTheJournalNames();
    [[nodiscard]] Rescued told();

    [[nodiscard]] QList<QVariantList> select(const QString& sql, const QVariantList& values = {}) const
    {
        QSqlQuery query = m_to.prepared(sql);
        return m_to.rows(query, values);
    }
    void change(const QString& sql, const QVariantList& values) const
    {
        QSqlQuery query = m_to.prepared(sql);
        m_to.change(query, values);
    }
    [[nodiscard]] bool isClosed(const QVariant& receipt) const
    {
        return !select(u"SELECT 1 FROM documents WHERE identifier = ?"_s, {receipt}).isEmpty();
    }
    /// A row that the file has damaged is not lost when the store has it.
    [[nodiscard]] bool isThere(const LostRow& row);

    DamagedStore& m_from;
    const Database& m_to;
    RescuedMessages m_messages;
    RescueTally m_tally;
    QString m_closedNow;
    QSet<QString> m_closed;             ///< receipts that the file's journal says so of
    QHash<qint64, QVariantList> m_last; ///< of each message that it tells no end of, the last entry
};

void Rescue::takeDocuments()
{
    const QString table = u"documents"_s;
    m_from.forEachRow(table, [&](qint64 /*rowid*/, const QVariantList& row) {
        const auto there = select(
            u"SELECT identifier, stored, content, sale FROM documents WHERE identifier = ?"_s, {row[0]});
        if (there.isEmpty() || !faultOfRow(table, there[0]).isEmpty()) {
            change(u"INSERT OR REPLACE INTO documents (identifier, stored, content, sale) "
                   "VALUES (?, ?, ?, ?)"_s,
                   row);
            m_tally.count(table, Fate::Taken);
        } else if (there[0][2] == row[2]) {
            m_tally.count(table, Fate::There);
        } else {
            m_tally.lose({.table = table,
                          .key = row[0].toString(),
                          .why = u"the store has another receipt of that identifier, which was left"_s});
        }
    });
}

void Rescue::takeCardRecords()
{
    const QString table = u"card_records"_s;
    m_from.forEachRow(table, [&](qint64 /*rowid*/, const QVariantList& row) {
        const auto there =
            select(u"SELECT revision, content FROM card_records WHERE document = ? AND kind = ?"_s,
                   {row[0], row[1]});
        const qint64 revision = there.isEmpty() ? 0 : there[0][0].toLongLong();
        if (row[2].toLongLong() > revision) {
            change(u"INSERT OR REPLACE INTO card_records (document, kind, revision, content) "
                   "VALUES (?, ?, ?, ?)"_s,
                   row);
            m_tally.count(table, Fate::Taken);
        } else if (row[2].toLongLong() < revision || there[0][1] == row[3]) {
            m_tally.count(table, Fate::There);
        } else {
            m_tally.lose({.table = table,
                          .key = row[0].toString(),
                          .why = u"the store has another card written back, which was left"_s});
        }
    });
}

void Rescue::noteEntry(const QVariantList& entry)
{
    static const QStringList ends{u"delivered"_s, u"dropped"_s};
    static const QStringList steps{u"queued"_s, u"attempt"_s, u"parked"_s, u"retried"_s, u"readdressed"_s};
    const QString event = entry[3].toString();
    const qint64 message = entry[5].toLongLong();
    if (event == u"closed")
        m_closed.insert(entry[2].toString());
    else if (ends.contains(event))
        m_last.remove(message);
    else if (steps.contains(event) && message != 0)
        m_last.insert(message, entry);
}

void Rescue::takeJournal()
{
    const QString table = u"journal"_s;
    const qint64 before = select(u"SELECT max(id) FROM journal"_s).value(0).value(0).toLongLong();
    QHash<QByteArray, qint64> seen; // of those that the store has, how many the file had so far
    QSqlQuery alike = m_to.prepared(
        u"SELECT count(*) FROM journal WHERE receipt = ? AND time = ? AND event = ? AND operation = ? "
        "AND code = ? AND detail = ? AND milliseconds = ? AND id <= ?"_s);
    QSqlQuery insert = m_to.prepared(u"INSERT INTO journal VALUES (?, ?, ?, ?, ?, ?, ?, ?, ?)"_s);
    m_from.forEachRow(table, [&](qint64 /*rowid*/, QVariantList row) {
        noteEntry(row);
        const qint64 there =
            before == 0 ? 0
                        : m_to.rows(alike, {row[2], row[1], row[3], row[4], row[6], row[7], row[8], before})
                              .value(0)
                              .value(0)
                              .toLongLong();
        if (there > 0 && ++seen[identityOfRow(table, row)] <= there) {
            m_tally.count(table, Fate::There);
            return;
        }
        row[0] = QVariant(QMetaType::fromType<qint64>()); // the next one
        row[5] = m_messages.numberOf(row[5].toLongLong());
        m_to.change(insert, row);
        m_tally.count(table, Fate::Taken);
    });
}

void Rescue::closeOpenReceipt()
{
    const QByteArray open = openReceiptIn(m_to);
    if (open.isEmpty() || !faultOfRow(u"open_receipt"_s, {{}, open}).isEmpty())
        return;
    const QString identifier = documentcodec::readDocument(open, {})->getIdentifier();
    if (!isClosed(identifier))
        return;
    change(u"DELETE FROM open_receipt"_s, {});
    m_closedNow = identifier;
}

void Rescue::takeOpenReceipt()
{
    const QString table = u"open_receipt"_s;
    m_from.forEachRow(table, [&](qint64 /*rowid*/, const QVariantList& row) {
        const QByteArray content = row[1].toByteArray();
        const QString identifier = documentcodec::readDocument(content, {})->getIdentifier();
        const QByteArray open = openReceiptIn(m_to);
        const bool isOver = isClosed(identifier) || !select(u"SELECT 1 FROM journal WHERE receipt = ? AND "
                                                            "event IN ('closed', 'abandoned')"_s,
                                                            {identifier})
                                                         .isEmpty();
        if (open == content || isOver) {
            m_tally.count(table, Fate::There);
        } else if (open.isEmpty()) {
            change(u"INSERT INTO open_receipt (slot, content) VALUES (1, ?)"_s, {content});
            m_tally.count(table, Fate::Taken);
        } else {
            m_tally.lose({.table = table,
                          .key = identifier,
                          .why = u"another receipt is open; once that one is closed, do this again"_s});
        }
    });
}

bool Rescue::isThere(const LostRow& row)
{
    if (row.table == u"documents")
        return isClosed(row.key);
    const bool isMessage = row.table == u"queued" || row.table == u"history";
    return isMessage && !row.receipt.isEmpty() && m_messages.has(row.key.toLongLong(), row.receipt);
}

/// What is on a page that is gone altogether, the journal may still tell of.
void Rescue::missWhatTheJournalNames()
{
    const QString where = u"the journal tells of it, but it is nowhere in the file"_s;
    QStringList closed(m_closed.cbegin(), m_closed.cend());
    closed.sort();
    for (const QString& receipt : closed) {
        if (!isClosed(receipt) && !m_tally.hasLost(u"documents"_s, receipt))
            m_tally.lose({.table = u"documents"_s, .key = receipt, .why = where});
    }
    QList<qint64> messages = m_last.keys();
    std::sort(messages.begin(), messages.end());
    for (const qint64 message : messages) {
        const QVariantList& entry = m_last[message];
        const QString key = QString::number(message);
        if (!m_messages.has(message, entry[2].toString()) && !m_tally.hasLost(u"queued"_s, key))
            m_tally.lose({.table = u"queued"_s,
                          .key = key,
                          .receipt = entry[2].toString(),
                          .text = entry[4].toString(),
                          .why = where});
    }
}

Rescued Rescue::told()
{
    for (LostRow row : m_from.lost()) {
        if (row.table == u"queued" && row.text.isEmpty()) // the journal may know what it was
            row.text = m_last.value(row.key.toLongLong()).value(4).toString();
        if (isThere(row))
            m_tally.count(row.table, Fate::There);
        else
            m_tally.lose(row);
    }
    missWhatTheJournalNames();
    Rescued rescued{.isStore = m_from.isStore(), .tables = {}, .lost = m_tally.lost(), .closed = m_closedNow};
    for (const StoredTable& table : storedTables()) {
        if (table.isKept)
            rescued.tables.append(m_tally.tables().value(table.name, {.table = table.name}));
    }
    return rescued;
}

} // namespace

Rescued rescue(const QString& file)
{
    DamagedStore from(file);
    const std::shared_ptr<Database> to = store();
    Rescued rescued;
    if (from.isStore())
        to->atomically([&] { rescued = Rescue(from, *to).run(); });
    return rescued;
}

} // namespace storage
