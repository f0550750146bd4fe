#include "host/core/document.h"
#include "host/core/session.h"
#include "host/core/storage.h"
#include "host/network/dbqueuebroker.h"
#include "host/utils/basicexception.h"

#include <gmock/gmock.h>

#include <functional>

using namespace Qt::StringLiterals;

namespace {

TEST(Session, HasNoDocumentBetweenReceipts)
{
    Session session;
    EXPECT_EQ(session.getDocument(), nullptr);
    const auto document = QSharedPointer<Document>::create(SaleReceipt, u"17-3"_s);
    session.setDocument(document);
    EXPECT_EQ(session.getDocument(), document);
    session.setDocument(nullptr);
    EXPECT_EQ(session.getDocument(), nullptr);
}

TEST(Session, HasOneRegistryFromTheStart)
{
    const Session session;
    ASSERT_NE(session.getRegistry(), nullptr);
    session.getRegistry()->setShopCode(u"S1"_s);
    EXPECT_EQ(session.getRegistry()->getShopCode(), u"S1"_s);
}

TEST(Registry, KnowsNoShopCodeAtFirst) { EXPECT_TRUE(Registry().getShopCode().isEmpty()); }

TEST(HostServices, StartAsNoneAndAreCreatedByWhoeverNeedsThem)
{
    EXPECT_EQ(Singleton<Session>::instance, nullptr);
    EXPECT_EQ(Singleton<DocumentsDao>::instance, nullptr);
    EXPECT_EQ(Singleton<DBQueueBroker>::instance, nullptr);
    EXPECT_FALSE(MockFactory<SaveToFileLogic>::mocked);
    EXPECT_TRUE(MockFactory<SaveToFileLogic>::create());
}

/// The text of the BasicException that the call throws; empty when it throws none.
std::string refusal(const std::function<void()>& call)
{
    try {
        call();
    } catch (const BasicException& exception) {
        EXPECT_FALSE(exception.tr().id().isEmpty());
        return exception.what();
    }
    return {};
}

TEST(DocumentsDao, RefusesLoudlyToLoadADocument)
{
    EXPECT_EQ(refusal([] { (void)DocumentsDao().loadDocument(173, false); }),
              "Чтение документа: хранилище документов не подключено");
}

TEST(DocumentsDao, RefusesLoudlyToSaveACardRecord)
{
    const auto record = QSharedPointer<DocumentCardRecord>::create(KyrLoyaltySystem, u"7000"_s);
    EXPECT_EQ(refusal([&record] { DocumentsDao().saveCardRecord(record); }),
              "Сохранение карты документа: хранилище документов не подключено");
}

TEST(SaveToFileLogic, RefusesLoudlyToSaveADocument)
{
    const auto document = QSharedPointer<Document>::create(SaleReceipt, u"17-3"_s);
    EXPECT_EQ(refusal([&document] { SaveToFileLogic().save(document, {}); }),
              "Сохранение документа: хранилище документов не подключено");
}

TEST(DBQueueBroker, RefusesLoudlyToQueueAMessage)
{
    EXPECT_EQ(refusal([] { DBQueueBroker().enqueue(u"queue"_s, {}, u"text"_s); }),
              "Очередь исходящих сообщений не подключена");
}

} // namespace
