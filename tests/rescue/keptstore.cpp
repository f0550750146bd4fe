#include "tests/rescue/keptstore.h"

#include "host/core/document.h"
#include "host/queue/messagequeue.h"
#include "host/storage/datadirectory.h"
#include "host/storage/documents.h"
#include "host/storage/journal.h"
#include "host/storage/store.h"
#include "tests/support/rawdatabase.h"

#include <QCryptographicHash>
#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QUrl>

#include <stdexcept>

using namespace Qt::StringLiterals;

namespace rescuetest {

namespace {

struct Kept
{
    QString table;
    QString columns;
    QList<int> verified; ///< of those
};

const QList<Kept> keptTables{
    {u"documents"_s, u"identifier, stored, content, sale"_s, {0, 2, 3}},
    {u"card_records"_s, u"document, kind, revision, content"_s, {1, 3}},
    {u"queued"_s, u"queue, receipt, enqueued, message, text, parked, attempts, error"_s, {3}},
    {u"history"_s,
     u"queue, receipt, enqueued, finished, text, attempts, error, outcome, answer, message"_s,
     {7, 9}},
    {u"journal"_s, u"time, receipt, event, operation, code, detail, milliseconds"_s, {2}},
    {u"open_receipt"_s, u"content"_s, {0}},
};

void copyStore(const QString& from, const QString& to)
{
    for (const QString& suffix : {u""_s, u"-wal"_s}) {
        QFile::remove(to + suffix);
        if (QFile::exists(from + suffix) && !QFile::copy(from + suffix, to + suffix))
            throw std::runtime_error("cannot copy " + from.toStdString());
    }
    QFile::remove(to + u"-shm"_s);
}

QByteArray told(const QVariantList& values)
{
    QByteArray bytes;
    for (const QVariant& value : values)
        bytes += value.isNull() ? QByteArray("null;") : value.toByteArray().toHex() + ';';
    return QCryptographicHash::hash(bytes, QCryptographicHash::Sha1);
}

/// Which pages hold the rows of that table, each row's in its turn.
QList<QSet<quint32>> pagesOf(const test_support::RawDatabase& database, const QString& table)
{
    QMap<QString, quint32> leaves;
    QMap<QString, int> cells;
    QMap<QString, QSet<quint32>> overflow; // by leaf and cell
    for (const QVariantList& page :
         database.run(u"SELECT path, pageno, pagetype, ncell FROM dbstat WHERE name = ?"_s, {table})) {
        const QString path = page[0].toString();
        const auto number = page[1].toUInt();
        if (page[2] == u"overflow"_s) {
            overflow[path.section(u'+', 0, 0)].insert(number);
        } else if (page[2] == u"leaf"_s) {
            leaves.insert(path, number);
            cells.insert(path, page[3].toInt());
        }
    }
    QList<QSet<quint32>> pages;
    for (auto leaf = leaves.cbegin(); leaf != leaves.cend(); ++leaf) {
        for (int cell = 0; cell < cells[leaf.key()]; ++cell)
            pages.append(overflow.value(leaf.key() + QString::number(cell, 16).rightJustified(3, u'0')) +
                         QSet<quint32>{*leaf});
    }
    return pages;
}

/// A day at a till, in random order and size.
class Day
{
public:
    explicit Day(std::mt19937& random)
        : m_random(random)
    {}

    void sell()
    {
        const QString identifier = u"R-%1"_s.arg(++m_sold);
        note(identifier, u"opened"_s);
        const auto sale = QSharedPointer<Document>::create(SaleReceipt, identifier);
        fill(*sale);
        m_logic.save(sale, {});
        note(identifier, u"request"_s, u"card"_s);
        note(identifier, u"answer"_s, u"card"_s);
        for (int i = upTo(2); i >= 0; --i)
            send(identifier);
        note(identifier, u"closed"_s);
        m_documents.store(sale);
        if (upTo(3) == 0) {
            sale->getCardRecord(KyrLoyaltySystem)->setOperationId(words(20));
            m_documents.saveCardRecord(sale->getCardRecord(KyrLoyaltySystem));
        }
        SaveToFileLogic::removeOpenReceipt();
        if (upTo(9) == 0)
            giveBack(identifier);
    }

    void leaveOpen()
    {
        const auto sale = QSharedPointer<Document>::create(SaleReceipt, u"R-%1"_s.arg(++m_sold));
        fill(*sale);
        m_logic.save(sale, {});
        note(sale->getIdentifier(), u"opened"_s);
    }

private:
    int upTo(int most) { return std::uniform_int_distribution(0, most)(m_random); }

    QString words(int count)
    {
        static const QStringList known{u"чай"_s, u"молоко"_s,    u"sugar"_s,
                                       u"мёд"_s, u"no answer"_s, u"карта"_s};
        QString text;
        for (int i = 0; i < count; ++i)
            text += known[upTo(5)] + u' ' + QString::number(upTo(999)) + u' ';
        return text;
    }

    void fill(Document& sale)
    {
        for (int i = upTo(upTo(9) == 0 ? 60 : 8); i >= 0; --i)
            sale.addGoodsItem(QSharedPointer<GoodsItem>::create(i + 1, QString::number(upTo(99999)), words(2),
                                                                upTo(900), 1));
        sale.setCardRecord(QSharedPointer<DocumentCardRecord>::create(KyrLoyaltySystem,
                                                                      u"20000000%1"_s.arg(upTo(99999)), 1));
    }

    void note(const QString& receipt, const QString& event, const QString& operation = {})
    {
        m_journal.add({.time = {},
                       .receipt = receipt,
                       .event = event,
                       .operation = operation,
                       .message = 0,
                       .code = upTo(3),
                       .detail = words(upTo(upTo(60) == 0 ? 500 : 3)),
                       .milliseconds = upTo(900)});
    }

    void send(const QString& receipt)
    {
        const QString operation = QStringList{u"payment-b2c"_s, u"refuse-payment"_s, u"receipt"_s}[upTo(2)];
        const qint64 id =
            m_queue.enqueue(u"loyalty"_s, receipt,
                            {{u"method"_s, u"POST"_s},
                             {u"url"_s, QUrl(u"https://loyalty.example.com/v2/partner/"_s + operation)},
                             {u"body"_s, words(upTo(upTo(9) == 0 ? 700 : 30)).toUtf8()},
                             {u"timeout"_s, 7}},
                            operation + u' ' + receipt);
        switch (upTo(7)) {
        case 0:
            m_queue.failed(id, {503, words(2), upTo(90)}, QDateTime::currentDateTimeUtc().addSecs(upTo(300)));
            break;
        case 1:
            m_queue.park(id, {400, words(3), upTo(90)});
            break;
        case 2:
            m_queue.drop(id);
            break;
        case 3:
            break;
        default:
            m_queue.delivered(id, {0, {}, upTo(90)});
        }
    }

    void giveBack(const QString& sale)
    {
        const auto back = QSharedPointer<Document>::create(ReturnReceipt, sale + u"-back"_s);
        back->setSaleDocumentId(sale);
        fill(*back);
        note(back->getIdentifier(), u"closed"_s);
        m_documents.store(back);
    }

    std::mt19937& m_random;
    DocumentsDao m_documents;
    MessageQueue m_queue;
    storage::Journal m_journal;
    SaveToFileLogic m_logic;
    int m_sold = 0;
};

void remember(KeptStore& kept, const QString& scratch)
{
    kept.rows = rowsOf(kept.file, scratch);
    for (auto table = kept.rows.cbegin(); table != kept.rows.cend(); ++table) {
        for (const Row& row : *table) {
            kept.ever[table.key()].insert(row.all);
            kept.everVerified[table.key()].insert(row.verified);
        }
    }
}

} // namespace

QMap<QString, QList<Row>> rowsOf(const QString& file, const QString& scratch)
{
    copyStore(file, scratch);
    const test_support::RawDatabase database(scratch);
    QMap<QString, QList<Row>> rows;
    for (const Kept& table : keptTables) {
        QList<Row>& list = rows[table.table];
        for (const QVariantList& values :
             database.run(u"SELECT %1 FROM %2 ORDER BY rowid"_s.arg(table.columns, table.table))) {
            QVariantList verified;
            for (const int column : table.verified)
                verified.append(values[column]);
            list.append({told(values), told(verified)});
        }
    }
    return rows;
}

KeptStore keepStore(const QString& folder, std::mt19937& random)
{
    constexpr int receiptsInFile = 60;
    constexpr int receiptsInLog = 8;
    const QString scratch = folder + u"/scratch.sqlite"_s;
    KeptStore kept;
    kept.file = folder + u"/till.sqlite"_s;
    storage::setDataDirectory(folder + u"/till"_s);
    const QString live = storage::dataFile(u"till.sqlite"_s);
    {
        Day day(random);
        constexpr int together = 10;
        for (int i = 0; i < receiptsInFile / together; ++i) {
            storage::Transaction commit;
            for (int k = 0; k < together; ++k)
                day.sell();
            commit.commit();
        }
        test_support::RawDatabase(live).run(u"PRAGMA wal_checkpoint(TRUNCATE)"_s);
        copyStore(live, kept.file);
        remember(kept, scratch);
        for (int i = 0; i < receiptsInLog; ++i) {
            storage::Transaction commit;
            day.sell();
            commit.commit();
            copyStore(live, kept.file);
            remember(kept, scratch);
        }
        day.leaveOpen();
        copyStore(live, kept.file);
        remember(kept, scratch);
    }
    storage::setDataDirectory({});
    copyStore(kept.file, scratch);
    const test_support::RawDatabase database(scratch);
    for (const Kept& table : keptTables)
        kept.pages[table.table] = pagesOf(database, table.table);
    return kept;
}

} // namespace rescuetest
