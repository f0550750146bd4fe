#include "host/storage/datadirectory.h"
#include "host/storage/documentcodec.h"
#include "host/storage/documents.h"
#include "host/storage/durablefile.h"
#include "host/utils/basicexception.h"

using namespace Qt::StringLiterals;

template class MockFactory<SaveToFileLogic>;

namespace {

QString openReceipt() { return storage::dataFile(u"open-receipt"_s); }

} // namespace

SaveToFileLogic::~SaveToFileLogic() = default;

void SaveToFileLogic::save(const QSharedPointer<AbstractDocument>& document, const QString& fileName)
{
    const auto receipt = document.dynamicCast<Document>();
    if (!receipt)
        throw BasicException(tr::Tr(u"hostDocumentMissing"_s, u"Чек не сохранён: нет документа"_s));
    const QString path = fileName.isEmpty() ? openReceipt() : storage::dataFile(fileName);
    storage::replaceFile(path, documentcodec::written(*receipt));
}

QSharedPointer<Document> SaveToFileLogic::loadOpenReceipt()
{
    const QString path = openReceipt();
    const auto bytes = storage::readFile(path);
    return bytes ? documentcodec::readDocument(*bytes, path) : nullptr;
}

void SaveToFileLogic::removeOpenReceipt() { storage::removeFile(openReceipt()); }
