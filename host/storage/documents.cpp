#include "host/storage/documents.h"

#include "host/core/document.h"
#include "host/storage/documentcodec.h"
#include "host/storage/storageerror.h"
#include "host/storage/store.h"
#include "host/utils/basicexception.h"
#include "host/utils/currenttime.h"

using namespace Qt::StringLiterals;

template class Singleton<DocumentsDao>;

namespace {

[[noreturn]] void refuse(const tr::Tr& text) { throw BasicException(text); }

/// The document as it was stored, without what was written back since; nothing when there is none.
QByteArray original(const storage::Database& store, const QString& identifier)
{
    return store.rows(u"SELECT content FROM documents WHERE identifier = ?"_s, {identifier})
        .value(0)
        .value(0)
        .toByteArray();
}

/// Null when there is no document of that identifier.
QSharedPointer<Document> load(const storage::Database& store, const QString& identifier)
{
    const QByteArray bytes = original(store, identifier);
    if (bytes.isEmpty())
        return nullptr;
    return documentcodec::assembled(
        bytes, store.rows(u"SELECT content, revision FROM card_records WHERE document = ?"_s, {identifier}),
        store.path());
}

int revisionOf(const storage::Database& store, const QString& identifier, int kind)
{
    return store
        .rows(u"SELECT revision FROM card_records WHERE document = ? AND kind = ?"_s, {identifier, kind})
        .value(0)
        .value(0)
        .toInt();
}

} // namespace

DocumentsDao::DocumentsDao() = default;

DocumentsDao::~DocumentsDao() = default;

const storage::Database& DocumentsDao::opened()
{
    m_store = storage::store();
    return *m_store;
}

QSharedPointer<AbstractDocument> DocumentsDao::loadDocument(const QVariant& reference, bool /*forUpdate*/)
{
    return load(opened(), reference.toString());
}

void DocumentsDao::saveCardRecord(const QSharedPointer<DocumentCardRecord>& record)
{
    const storage::Database& store = opened();
    const QString identifier = record ? record->storedPlace().document : QString();
    const QByteArray bytes = identifier.isEmpty() ? QByteArray() : original(store, identifier);
    if (bytes.isEmpty() ||
        !documentcodec::readDocument(bytes, store.path())->hasCardRecord(record->getKind()))
        refuse({u"hostCardRecordForeign"_s, u"Карта не сохранена: она не относится к сохранённому чеку"_s});
    const int kind = record->getKind();
    const QByteArray content = documentcodec::written(*record);
    const int next = record->storedPlace().revision + 1;
    store.atomically([&] {
        if (revisionOf(store, identifier, kind) != next - 1)
            refuse(tr::Tr(u"hostCardRecordStale"_s, u"Карта чека %1 не сохранена: её уже изменили"_s)
                       .arg(identifier));
        QSqlQuery write = store.prepared(
            u"INSERT OR REPLACE INTO card_records (document, kind, revision, content) VALUES (?, ?, ?, ?)"_s);
        store.change(write, {identifier, kind, next, content});
    });
    record->setStoredPlace({identifier, next});
}

void DocumentsDao::store(const QSharedPointer<Document>& document)
{
    const storage::Database& store = opened();
    if (!document)
        refuse({u"hostDocumentMissing"_s, u"Чек не сохранён: нет документа"_s});
    const QString identifier = document->getIdentifier();
    if (identifier.isEmpty())
        refuse({u"hostDocumentNameless"_s, u"Чек не сохранён: у него нет номера"_s});
    const QByteArray bytes = documentcodec::written(*document);
    bool isNew = false;
    store.atomically([&] {
        if (const auto stored = load(store, identifier)) {
            requireStored(*document, *stored, original(store, identifier));
            return;
        }
        isNew = true;
        const qint64 now = MockFactory<CurrentTime>::create()->currentDateTime().toMSecsSinceEpoch();
        QSqlQuery insert = store.prepared(
            u"INSERT INTO documents (identifier, stored, content, sale) VALUES (?, ?, ?, ?)"_s);
        store.change(insert, {identifier, now, bytes, document->getSaleDocumentId().toString()});
    });
    if (isNew)
        documentcodec::setPlaces(*document, 0);
}

QList<QSharedPointer<AbstractDocument>> DocumentsDao::returnsOf(const QString& sale)
{
    const storage::Database& store = opened();
    QList<QSharedPointer<AbstractDocument>> returns;
    for (const QVariantList& row : store.rows(
             u"SELECT identifier FROM documents WHERE sale = ? AND sale <> '' ORDER BY stored, rowid"_s,
             {sale}))
        returns.append(load(store, row[0].toString()));
    return returns;
}

QList<ClosedSale> DocumentsDao::newestSales(int limit)
{
    const storage::Database& store = opened();
    QList<ClosedSale> sales;
    for (const QVariantList& row : store.rows(
             u"SELECT identifier FROM documents WHERE sale = '' ORDER BY stored DESC, rowid DESC LIMIT ?"_s,
             {limit})) {
        const QString identifier = row[0].toString();
        addSale(sales, identifier, [&] { return load(store, identifier); });
    }
    return sales;
}

bool DocumentsDao::contains(const QString& identifier)
{
    return !opened().rows(u"SELECT 1 FROM documents WHERE identifier = ?"_s, {identifier}).isEmpty();
}

void DocumentsDao::requireStored(const Document& document, const Document& stored, const QByteArray& original)
{
    const QByteArray bytes = documentcodec::written(document);
    if (documentcodec::written(stored) == bytes) {
        for (const auto& record : stored.cardRecords())
            document.getCardRecord(record->getKind())->setStoredPlace(record->storedPlace());
    } else if (original == bytes) {
        // As it was closed: its records are older than what was written back, and may not overwrite that.
        documentcodec::setPlaces(document, 0);
    } else {
        refuse(tr::Tr(u"hostDocumentStored"_s, u"Чек %1 уже сохранён с другим содержимым"_s)
                   .arg(document.getIdentifier()));
    }
}

void addSale(QList<ClosedSale>& sales, const QString& identifier,
             const std::function<QSharedPointer<Document>()>& load)
{
    try {
        const auto document = load();
        if (document->getDocumentType() == SaleReceipt)
            sales.append({identifier, document});
    } catch (const BasicException& failure) {
        if (!storage::isFault(failure, storage::StorageFault::Damaged))
            throw;
        sales.append({identifier, nullptr});
    }
}
