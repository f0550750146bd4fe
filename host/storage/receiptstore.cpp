#include "host/storage/receiptstore.h"

#include "host/storage/documentcodec.h"
#include "host/storage/storageerror.h"
#include "host/utils/basicexception.h"
#include "host/utils/currenttime.h"

using namespace Qt::StringLiterals;

namespace {

[[noreturn]] void refuse(const QString& id, const QString& text) { throw BasicException(tr::Tr(id, text)); }

/// What it reads; null when that is damaged.
template <class Read>
QSharedPointer<Document> ifWhole(Read read)
{
    try {
        return read();
    } catch (const BasicException& failure) {
        if (!utils::isFault(failure, utils::StorageFault::Damaged))
            throw;
        return nullptr;
    }
}

void setPlaces(const Document& document, int revision)
{
    for (const auto& record : document.cardRecords())
        record->setStoredPlace({document.getIdentifier(), revision});
}

} // namespace

ReceiptStore::ReceiptStore()
    : m_database(utils::store())
    , m_insert(m_database->prepared(
          u"INSERT INTO documents (identifier, stored, content, sale) VALUES (?, ?, ?, ?)"_s))
    , m_select(m_database->prepared(u"SELECT content FROM documents WHERE identifier = ?"_s))
    , m_records(m_database->prepared(u"SELECT content, revision FROM card_records WHERE document = ?"_s))
    , m_revision(m_database->prepared(u"SELECT revision FROM card_records WHERE document = ? AND kind = ?"_s))
    , m_write(m_database->prepared(
          u"INSERT OR REPLACE INTO card_records (document, kind, revision, content) VALUES (?, ?, ?, ?)"_s))
    , m_returns(m_database->prepared(
          u"SELECT identifier FROM documents WHERE sale = ? AND sale <> '' ORDER BY stored, rowid"_s))
{}

QSharedPointer<Document> ReceiptStore::load(const QString& identifier)
{
    const QByteArray bytes = original(identifier);
    if (bytes.isEmpty())
        return nullptr;
    auto document = documentcodec::readDocument(bytes, m_database->path());
    setPlaces(*document, 0);
    for (const QVariantList& row : m_database->rows(m_records, {identifier})) {
        const auto record = documentcodec::readCardRecord(row[0].toByteArray(), m_database->path());
        record->setStoredPlace({identifier, row[1].toInt()});
        document->setCardRecord(record);
    }
    return document;
}

void ReceiptStore::saveCardRecord(const QSharedPointer<DocumentCardRecord>& record)
{
    const QString identifier = record ? record->storedPlace().document : QString();
    const QByteArray bytes = identifier.isEmpty() ? QByteArray() : original(identifier);
    if (bytes.isEmpty() ||
        !documentcodec::readDocument(bytes, m_database->path())->hasCardRecord(record->getKind()))
        refuse(u"hostCardRecordForeign"_s, u"Карта не сохранена: она не относится к сохранённому чеку"_s);
    const int kind = record->getKind();
    const QByteArray content = documentcodec::written(*record);
    const int next = record->storedPlace().revision + 1;
    m_database->atomically([&] {
        if (revision(identifier, kind) != next - 1)
            refuse(u"hostCardRecordStale"_s,
                   u"Карта чека %1 не сохранена: её уже изменили"_s.arg(identifier));
        m_database->change(m_write, {identifier, kind, next, content});
    });
    record->setStoredPlace({identifier, next});
}

void ReceiptStore::store(const QSharedPointer<Document>& document)
{
    if (!document)
        refuse(u"hostDocumentMissing"_s, u"Чек не сохранён: нет документа"_s);
    const QString identifier = document->getIdentifier();
    if (identifier.isEmpty())
        refuse(u"hostDocumentNameless"_s, u"Чек не сохранён: у него нет номера"_s);
    const QByteArray bytes = documentcodec::written(*document);
    bool isNew = false;
    m_database->atomically([&] {
        if (isStored(document, bytes))
            return;
        isNew = true;
        const qint64 now = MockFactory<CurrentTime>::create()->currentDateTime().toMSecsSinceEpoch();
        m_database->change(m_insert, {identifier, now, bytes, document->getSaleDocumentId().toString()});
    });
    if (isNew)
        setPlaces(*document, 0);
}

QList<QSharedPointer<Document>> ReceiptStore::returnsOf(const QString& sale)
{
    noteSales();
    // A return comes after its sale.
    QSqlQuery doubtful =
        m_database->prepared(u"SELECT count(*) FROM documents WHERE sale IS NULL AND rowid > "
                             "(SELECT rowid FROM documents WHERE identifier = ?)"_s);
    if (m_database->rows(doubtful, {sale}).value(0).value(0).toInt() > 0)
        throw utils::storageError(utils::StorageFault::Damaged, m_database->path());
    QList<QSharedPointer<Document>> returns;
    for (const QVariantList& row : m_database->rows(m_returns, {sale}))
        returns.append(load(row[0].toString()));
    return returns;
}

QList<ClosedSale> ReceiptStore::newestSales(int limit)
{
    noteSales();
    QSqlQuery newest =
        m_database->prepared(u"SELECT identifier FROM documents WHERE (sale = '' OR sale IS NULL) "
                             "ORDER BY stored DESC, rowid DESC LIMIT ?"_s);
    QList<ClosedSale> sales;
    for (const QVariantList& row : m_database->rows(newest, {limit})) {
        const QString identifier = row[0].toString();
        const auto document = ifWhole([&] { return load(identifier); });
        if (!document || document->getDocumentType() == SaleReceipt)
            sales.append({identifier, document});
    }
    return sales;
}

void ReceiptStore::noteSales()
{
    QSqlQuery unknown = m_database->prepared(
        u"SELECT rowid, identifier, content FROM documents WHERE sale IS NULL AND rowid > ? "
        "ORDER BY rowid LIMIT 1000"_s);
    QSqlQuery note = m_database->prepared(u"UPDATE documents SET sale = ? WHERE identifier = ?"_s);
    QVariant last = 0;
    for (auto found = m_database->rows(unknown, {last}); !found.isEmpty();
         found = m_database->rows(unknown, {last})) {
        m_database->atomically([&] {
            for (const QVariantList& row : found) {
                last = row[0];
                const auto document = ifWhole(
                    [&] { return documentcodec::readDocument(row[2].toByteArray(), m_database->path()); });
                if (document)
                    m_database->change(note, {document->getSaleDocumentId().toString(), row[1]});
            }
        });
    }
}

QByteArray ReceiptStore::original(const QString& identifier)
{
    return m_database->rows(m_select, {identifier}).value(0).value(0).toByteArray();
}

int ReceiptStore::revision(const QString& identifier, int kind)
{
    return m_database->rows(m_revision, {identifier, kind}).value(0).value(0).toInt();
}

bool ReceiptStore::isStored(const QSharedPointer<Document>& document, const QByteArray& bytes)
{
    const QString identifier = document->getIdentifier();
    const auto stored = load(identifier);
    if (!stored)
        return false;
    if (documentcodec::written(*stored) == bytes) {
        for (const auto& record : stored->cardRecords())
            document->getCardRecord(record->getKind())->setStoredPlace(record->storedPlace());
    } else if (original(identifier) == bytes) {
        // As it was closed: its records are older than what was written back, and may not overwrite that.
        setPlaces(*document, 0);
    } else {
        refuse(u"hostDocumentStored"_s, u"Чек %1 уже сохранён с другим содержимым"_s.arg(identifier));
    }
    return true;
}
