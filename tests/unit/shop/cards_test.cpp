#include "host/shop/shopcards.h"
#include "tests/unit/shop/scene.h"

#include <gmock/gmock.h>

using namespace Qt::StringLiterals;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::UnorderedElementsAre;

namespace test_support {

namespace {

/// A shop in which a customer wants to be forgotten.
class ForgettingShop : public Shop
{
protected:
    static QSharedPointer<Document> withCard(const QSharedPointer<Document>& receipt, const QString& card)
    {
        receipt->setCardRecord(QSharedPointer<DocumentCardRecord>::create(KyrLoyaltySystem, card));
        return receipt;
    }
    static QSharedPointer<Document> saleWith(const QString& identifier, const QString& card)
    {
        return withCard(QSharedPointer<Document>::create(SaleReceipt, identifier), card);
    }
    [[nodiscard]] QString need(const QString& family)
    {
        const auto fate = shop::removeFamily(database, family);
        const auto* need = std::get_if<storage::Need>(&fate);
        return !need                             ? u"none"_s
               : *need == storage::Need::Parked  ? u"parked"_s
               : *need == storage::Need::Waiting ? u"waiting"_s
               : *need == storage::Need::Unknown ? u"unknown"_s
                                                 : u"open"_s;
    }
    [[nodiscard]] QStringList removed(const QString& family)
    {
        const auto fate = shop::removeFamily(database, family);
        QStringList names;
        for (const auto& receipt : std::get<QList<storage::RemovedReceipt>>(fate))
            names.append(receipt.identifier);
        return names;
    }
};

} // namespace

TEST_F(ForgettingShop, FindsTheFamiliesOfACardByReceiptReturnRecordAndMessage)
{
    closeReceipt(saleWith(u"R-1"_s, u"77"_s));
    closeReceipt(saleWith(u"R-2"_s, u"88"_s));
    closeReceipt(returnOf(u"R-2"_s, u"V-2"_s));
    closeReceipt(saleWith(u"R-3"_s, u"99"_s));
    closeReceipt(withCard(returnOf(u"R-3"_s, u"V-3"_s), u"77"_s));
    closeReceipt(saleWith(u"R-4"_s, u"77"_s));
    DocumentsDao().saveCardRecord(
        DocumentsDao().loadDocument(u"R-4"_s, false)->getCardRecord(KyrLoyaltySystem));
    enqueue(u"R-5"_s, R"({"card":"77"})");
    enqueue(u"R-6"_s, R"({"card":"777"})");
    moveOn();
    EXPECT_THAT(shop::tracesOf(database, u"77"_s).damaged, IsEmpty());
    server.sql(u"UPDATE kyr.documents SET content = 'x' WHERE identifier = 'R-4'"_s);
    const storage::CardTraces traces = shop::tracesOf(database, u"77"_s);
    EXPECT_THAT(traces.families, UnorderedElementsAre(u"R-1"_s, u"R-3"_s, u"R-4"_s, u"R-5"_s));
    EXPECT_THAT(traces.damaged, ElementsAre(u"R-4"_s)) << "of which a card's record tells";
}

TEST_F(ForgettingShop, LooksThroughMoreReceiptsThanAreReadAtATime)
{
    for (int i = 0; i < 1002; ++i)
        DocumentsDao().store(saleWith(u"R-%1"_s.arg(i), i % 500 == 1 ? u"77"_s : u"88"_s));
    moveOn();
    EXPECT_THAT(shop::tracesOf(database, u"77"_s).families,
                UnorderedElementsAre(u"R-1"_s, u"R-501"_s, u"R-1001"_s));
}

TEST_F(ForgettingShop, TellsWhatIsDamagedForNobodyKnowsWhoseItIs)
{
    closeReceipt(saleWith(u"R-1"_s, u"77"_s));
    closeReceipt(saleWith(u"R-2"_s, u"77"_s));
    moveOn();
    server.sql(u"UPDATE kyr.documents SET content = 'x' WHERE identifier = 'R-2'"_s);
    const storage::CardTraces traces = shop::tracesOf(database, u"77"_s);
    EXPECT_THAT(traces.families, ElementsAre(u"R-1"_s));
    EXPECT_THAT(traces.damaged, ElementsAre(u"R-2"_s));
}

TEST_F(ForgettingShop, RemovesAFamilyWithAllThatIsKeptOfItAndNothingElse)
{
    closeReceipt(saleWith(u"R-1"_s, u"77"_s));
    closeReceipt(saleWith(u"R-2"_s, u"77"_s));
    enqueue(u"R-1"_s);
    EXPECT_TRUE(MessageQueue().delivered(MessageQueue().lastId(), {}));
    const auto record = DocumentsDao().loadDocument(u"R-1"_s, false)->getCardRecord(KyrLoyaltySystem);
    DocumentsDao().saveCardRecord(record);
    moveOn();
    closeReceipt(returnOf(u"R-1"_s, u"V-1"_s));
    moveOn();
    EXPECT_EQ(removed(u"R-1"_s), QStringList({u"R-1"_s, u"V-1"_s}));
    EXPECT_EQ(server.sql(u"SELECT identifier FROM kyr.documents"_s), u"R-2");
    EXPECT_EQ(server.sql(u"SELECT DISTINCT receipt FROM kyr.journal"_s), u"R-2");
    EXPECT_EQ(server.sql(u"SELECT count(*) FROM kyr.card_records"_s), u"0");
    EXPECT_EQ(server.sql(u"SELECT count(*) FROM kyr.history"_s), u"0");
}

TEST_F(ForgettingShop, KeepsAFamilyWhileItIsStillNeededAndSaysWhy)
{
    closeReceipt(saleWith(u"R-1"_s, u"77"_s));
    enqueue(u"R-1"_s);
    closeReceipt(saleWith(u"R-2"_s, u"77"_s));
    note(u"R-3"_s, u"unknown"_s);
    note(u"R-4"_s, u"unknown"_s);
    note(u"R-4"_s, u"abandoned"_s);
    moveOn();
    EXPECT_EQ(need(u"R-1"_s), u"waiting");
    server.sql(u"UPDATE kyr.queued SET parked = true"_s);
    EXPECT_EQ(need(u"R-1"_s), u"parked");
    EXPECT_EQ(need(u"R-3"_s), u"unknown");
    EXPECT_EQ(server.sql(u"SELECT count(*) FROM kyr.documents"_s), u"2");
    EXPECT_EQ(need(u"R-4"_s), u"none");
    EXPECT_EQ(need(u"R-2"_s), u"none");
}

TEST_F(ForgettingShop, WaitsForWhoIsJustReturningTheSale)
{
    closeReceipt(saleWith(u"R-1"_s, u"77"_s));
    moveOn();
    shop::Connection other(server.address());
    other.begin();
    shop::lockFamily(other, u"R-1"_s);
    shop::Connection brief(server.address(), {.statement = std::chrono::milliseconds(200)});
    try {
        static_cast<void>(shop::removeFamily(brief, u"R-1"_s));
        FAIL();
    } catch (const shop::DatabaseError& failure) {
        EXPECT_EQ(failure.fault(), shop::Fault::Conflict);
    }
    EXPECT_EQ(server.sql(u"SELECT count(*) FROM kyr.documents"_s), u"1");
    EXPECT_FALSE(brief.isInTransaction());
}

TEST_F(ForgettingShop, IsAnAdministratorsRightAlone)
{
    server.sql(u"CREATE ROLE boss LOGIN IN ROLE kyr_admin; CREATE ROLE deliver1 LOGIN IN ROLE kyr_deliver"_s);
    closeReceipt(saleWith(u"R-1"_s, u"77"_s));
    moveOn();
    for (const char* user : {"deliver1", "boss"}) {
        shop::Connection own(server.address(QString::fromLatin1(user)));
        EXPECT_EQ(shop::tracesOf(own, u"77"_s).families, QStringList(u"R-1"_s));
        try {
            static_cast<void>(shop::removeFamily(own, u"R-1"_s));
            EXPECT_STREQ(user, "boss");
        } catch (const shop::DatabaseError& failure) {
            EXPECT_STREQ(user, "deliver1");
            EXPECT_EQ(failure.state(), u"42501");
        }
    }
    EXPECT_EQ(server.sql(u"SELECT count(*) FROM kyr.documents"_s), u"0");
}

} // namespace test_support
