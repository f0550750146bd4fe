#include "host/storage/openreceipt.h"

#include "host/storage/datadirectory.h"
#include "host/storage/documentcodec.h"
#include "host/storage/documents.h"
#include "host/storage/durablefile.h"
#include "host/storage/store.h"
#include "host/utils/basicexception.h"

using namespace Qt::StringLiterals;

template class MockFactory<SaveToFileLogic>;

namespace storage {

QByteArray openReceiptIn(const Database& store)
{
    return store.rows(u"SELECT content FROM open_receipt"_s).value(0).value(0).toByteArray();
}

} // namespace storage

SaveToFileLogic::~SaveToFileLogic() = default;

void SaveToFileLogic::save(const QSharedPointer<AbstractDocument>& document, const QString& fileName)
{
    const auto receipt = document.dynamicCast<Document>();
    if (!receipt)
        throw BasicException(tr::Tr(u"hostDocumentMissing"_s, u"Чек не сохранён: нет документа"_s));
    const QByteArray bytes = documentcodec::written(*receipt);
    if (!fileName.isEmpty()) {
        storage::replaceFile(storage::dataFile(fileName), bytes);
        return;
    }
    const auto store = storage::store();
    if (storage::openReceiptIn(*store) == bytes) {
        store->requireInPlace(); // as a write would
        return;
    }
    store->change(u"INSERT OR REPLACE INTO open_receipt (slot, content) VALUES (1, ?)"_s, {bytes});
}

QSharedPointer<Document> SaveToFileLogic::loadOpenReceipt()
{
    const auto store = storage::store();
    const QByteArray bytes = storage::openReceiptIn(*store);
    return bytes.isEmpty() ? nullptr
                           : documentcodec::readDocument(bytes, store->path() + u": open_receipt"_s);
}

void SaveToFileLogic::removeOpenReceipt() { storage::store()->change(u"DELETE FROM open_receipt"_s, {}); }
