#include "plugin/kyrloyaltyexception.h"
#include "tests/unit/plugin/loyaltydoubles.h"

#include <gmock/gmock.h>

using namespace Qt::StringLiterals;
using testing::ElementsAre;
using testing::InSequence;
using testing::Return;
using testing::Throw;

namespace {

class Earning : public LoyaltyWorld
{
protected:
    static DocumentBonusRecord recordOf(double amount)
    {
        return {u"2000000000017"_s, amount, 1200, {}, {}, 0};
    }
    const QString asked = u"info: Запрос баллов для начисления"_s;
};

TEST_F(Earning, SpreadsTheServicesRecordOverThePositionsAndWritesItsSumOnTheCard)
{
    addPosition(1, 100);
    addPosition(2, 50);
    addPosition(3, 50);
    loyalty.m_bonusRecords = {recordOf(99)};
    EXPECT_CALL(*client, earnPoints(true)).WillOnce(Return(recordOf(10.01)));
    EXPECT_TRUE(loyalty.hasPointsForEarn());
    EXPECT_EQ(loyalty.m_bonusRecords.size(), 3);
    EXPECT_DOUBLE_EQ(loyalty.getPointsForEarn(), 10.01);
    EXPECT_EQ(card->getPointsForEarn().typeId(), QMetaType::Double);
    EXPECT_EQ(card->getPointsForEarn().toDouble(), loyalty.getPointsForEarn());
    EXPECT_THAT(log(), ElementsAre(asked, u"info: Баллы получены"_s));
    EXPECT_EQ(loyalty.getLastErrorString(), before);
}

TEST_F(Earning, OverNoPositionIsNoneAndZeroOnTheCard)
{
    fillState();
    EXPECT_CALL(*client, earnPoints(true)).WillOnce(Return(recordOf(10)));
    EXPECT_FALSE(loyalty.hasPointsForEarn());
    EXPECT_TRUE(loyalty.m_bonusRecords.isEmpty());
    EXPECT_EQ(card->getPointsForEarn(), QVariant(0.0));
    EXPECT_THAT(log(), ElementsAre(asked, u"info: Баллы получены"_s));
}

TEST_F(Earning, OfAnythingButASaleIsRefusedWithoutARequest)
{
    for (const int type : {25, 0, 2}) {
        open(type);
        fillState();
        clearLog();
        EXPECT_FALSE(loyalty.hasPointsForEarn());
        EXPECT_THAT(log(), ElementsAre(asked, u"warn: Некорректный тип документа для начисления бонусов"_s));
        expectStateUntouched();
    }
}

TEST_F(Earning, ThatFailsOnlineIsQueuedOnceAndTellsNobody)
{
    addPosition(1, 100);
    fillState();
    {
        const InSequence order;
        EXPECT_CALL(*client, earnPoints(true)).WillOnce(Throw(KyrLoyaltyException(failed)));
        EXPECT_CALL(*client, earnPoints(false)).WillOnce(Return(recordOf(77)));
    }
    EXPECT_FALSE(loyalty.hasPointsForEarn());
    EXPECT_THAT(log(), ElementsAre(asked, u"error: Ошибка обращения к серверу"_s));
    EXPECT_EQ(loyalty.getLastErrorString(), before);
    expectStateUntouched();
}

TEST_F(Earning, ThatCannotEvenBeQueuedPassesToTheHost)
{
    EXPECT_CALL(*client, earnPoints(true)).WillOnce(Throw(KyrLoyaltyException(failed)));
    EXPECT_CALL(*client, earnPoints(false)).WillOnce(Throw(KyrLoyaltyException(u"очередь"_s)));
    EXPECT_THROW(loyalty.hasPointsForEarn(), KyrLoyaltyException);
    EXPECT_THAT(log(), ElementsAre(asked, u"error: Ошибка обращения к серверу"_s));
}

TEST_F(Earning, LetsOtherExceptionsPassWithoutQueueing)
{
    EXPECT_CALL(*client, earnPoints(true)).WillOnce(Throw(std::logic_error("other")));
    EXPECT_THROW(loyalty.hasPointsForEarn(), std::logic_error);
}

TEST_F(Earning, WithoutACurrentDocumentFailsWithAClearText)
{
    Singleton<Session>::instance->setDocument({});
    EXPECT_THROW(loyalty.hasPointsForEarn(), KyrLoyaltyException);
    EXPECT_THAT(log(), ElementsAre(asked));
}

TEST_F(Earning, IsOfTheSessionsDocumentNotTheWatchedOne)
{
    loyalty.setDocument(QSharedPointer<Document>::create(ReturnReceipt, u"V-1"_s));
    addPosition(1, 100);
    EXPECT_CALL(*client, earnPoints(true)).WillOnce(Return(recordOf(5)));
    EXPECT_TRUE(loyalty.hasPointsForEarn());
}

TEST_F(Earning, BeforeAnyRequestIsZero)
{
    EXPECT_EQ(loyalty.getPointsForEarn(), 0.0);
    EXPECT_TRUE(log().isEmpty());
}

TEST_F(Earning, AddsUpTheRecordsItHas)
{
    loyalty.m_bonusRecords = {recordOf(1.25), recordOf(2.5), recordOf(-0.25)};
    EXPECT_EQ(loyalty.getPointsForEarn(), 3.5);
}

} // namespace
