#include "host/core/document.h"
#include "host/core/session.h"
#include "host/queue/dbqueuebroker.h"
#include "host/storage/documents.h"

#include <gtest/gtest.h>

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

} // namespace
