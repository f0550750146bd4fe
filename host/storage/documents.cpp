#include "host/storage/documents.h"

#include "host/storage/receiptstore.h"

template class Singleton<DocumentsDao>;

DocumentsDao::DocumentsDao()
    : m_store(std::make_unique<utils::StoreUser<ReceiptStore>>())
{}

DocumentsDao::~DocumentsDao() = default;

template <class Operation>
auto DocumentsDao::inStore(Operation operation)
{
    return operation(m_store->get());
}

QSharedPointer<AbstractDocument> DocumentsDao::loadDocument(const QVariant& reference, bool /*forUpdate*/)
{
    return inStore([&](ReceiptStore& store) { return store.load(reference.toString()); });
}

void DocumentsDao::saveCardRecord(const QSharedPointer<DocumentCardRecord>& record)
{
    inStore([&](ReceiptStore& store) { store.saveCardRecord(record); });
}

void DocumentsDao::store(const QSharedPointer<Document>& document)
{
    inStore([&](ReceiptStore& store) { store.store(document); });
}

QList<QSharedPointer<AbstractDocument>> DocumentsDao::returnsOf(const QString& sale)
{
    return inStore([&](ReceiptStore& store) {
        QList<QSharedPointer<AbstractDocument>> returns;
        for (const auto& document : store.returnsOf(sale))
            returns.append(document);
        return returns;
    });
}

QList<ClosedSale> DocumentsDao::newestSales(int limit)
{
    return inStore([&](ReceiptStore& store) { return store.newestSales(limit); });
}
