#include "host/core/storage.h"

#include "host/utils/basicexception.h"

using namespace Qt::StringLiterals;

template class Singleton<DocumentsDao>;
template class MockFactory<SaveToFileLogic>;

namespace {

[[noreturn]] void refuse(const QString& what)
{
    throw BasicException(
        tr::Tr(u"hostStorageMissing"_s, u"%1: хранилище документов не подключено"_s.arg(what)));
}

} // namespace

DocumentsDao::~DocumentsDao() = default;

QSharedPointer<AbstractDocument> DocumentsDao::loadDocument(const QVariant& /*reference*/, bool /*forUpdate*/)
{
    refuse(u"Чтение документа"_s);
}

void DocumentsDao::saveCardRecord(const QSharedPointer<DocumentCardRecord>& /*record*/)
{
    refuse(u"Сохранение карты документа"_s);
}

SaveToFileLogic::~SaveToFileLogic() = default;

void SaveToFileLogic::save(const QSharedPointer<AbstractDocument>& /*document*/, const QString& /*fileName*/)
{
    refuse(u"Сохранение документа"_s);
}
