#include "tests/fuzz/clientworld.h"

#include "host/core/goodsitem.h"
#include "host/core/session.h"

using namespace Qt::StringLiterals;

namespace fuzz {

ClientWorld::ClientWorld()
{
    receipt->addGoodsItem(QSharedPointer<GoodsItem>::create(1, u"4601"_s, u"Чай"_s, 89.9, 2));
    receipt->setCardRecord(card);
    Singleton<Session>::instance = new Session;
    Singleton<Session>::instance->getRegistry()->setShopCode(u"shop-7"_s);
    Singleton<Session>::instance->setDocument(receipt);
    Singleton<DBQueueBroker>::instance = new test_support::RecordingQueue;
    Singleton<DocumentsDao>::instance = new test_support::FakeDocuments;
    set("serverUrl", u"http://service/"_s);
    set("user", u"shop"_s);
    set("password", password);
    set("timeout", 7);
    client.init();
}

} // namespace fuzz
