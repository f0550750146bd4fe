// What exists once in a process: singletons, factories and the loggers.

#include "host/utils/config.h"
#include "host/utils/logging.h"
#include "host/utils/standingtime.h"

#include <gtest/gtest.h>

#include <memory>

using namespace Qt::StringLiterals;

namespace {

struct Thing
{
    QString origin = u"default"_s;
};

const QDateTime moment(QDate(2024, 2, 29), QTime(23, 59, 59, 999));

/// Puts the factory back to production when the test ends, however it ends.
template <class T>
struct Production
{
    Production() = default;
    ~Production() { MockFactory<T>::mocked = nullptr; }
    Production(const Production&) = delete;
    Production& operator=(const Production&) = delete;
};

TEST(Singleton, StartsAsNull)
{
    EXPECT_EQ(Singleton<Thing>::instance, nullptr);
    EXPECT_EQ(Singleton<Config>::instance, nullptr);
}

TEST(Singleton, HoldsWhatIsPutThere)
{
    struct Another
    {};
    Another object;
    Singleton<Another>::instance = &object;
    EXPECT_EQ(Singleton<Another>::instance, &object);
}

TEST(MockFactory, MakesADefaultObjectInProduction)
{
    EXPECT_FALSE(MockFactory<Thing>::mocked);
    const QSharedPointer<Thing> thing = MockFactory<Thing>::create();
    ASSERT_TRUE(thing);
    EXPECT_EQ(thing->origin, u"default"_s);
}

TEST(MockFactory, MakesANewObjectEachTime)
{
    const QSharedPointer<Thing> one = MockFactory<Thing>::create();
    const QSharedPointer<Thing> other = MockFactory<Thing>::create();
    EXPECT_NE(one, other);
}

TEST(MockFactory, AsksTheRegisteredCreatorAndForgetsItWhenItIsTakenAway)
{
    const Production<Thing> atTheEnd;
    MockFactory<Thing>::mocked = [] { return QSharedPointer<Thing>(new Thing{.origin = u"mock"_s}); };
    EXPECT_EQ(MockFactory<Thing>::create()->origin, u"mock"_s);
    MockFactory<Thing>::mocked = nullptr;
    EXPECT_EQ(MockFactory<Thing>::create()->origin, u"default"_s);
}

TEST(MockFactory, LeavesTheObjectToTheCaller)
{
    const Production<CurrentTime> atTheEnd;
    QWeakPointer<CurrentTime> observed;
    MockFactory<CurrentTime>::mocked = [&observed] {
        const QSharedPointer<CurrentTime> clock(new StandingTime(moment));
        observed = clock;
        return clock;
    };
    QSharedPointer<CurrentTime> clock = MockFactory<CurrentTime>::create();
    EXPECT_FALSE(observed.isNull());
    clock.reset();
    EXPECT_TRUE(observed.isNull());
}

TEST(CurrentTime, IsNowInLocalTimeToTheMillisecond)
{
    const QDateTime before = QDateTime::currentDateTime();
    const QDateTime now = MockFactory<CurrentTime>::create()->currentDateTime();
    const QDateTime after = QDateTime::currentDateTime();
    EXPECT_LE(before, now);
    EXPECT_LE(now, after);
    EXPECT_EQ(now.timeSpec(), Qt::LocalTime);
}

TEST(CurrentTime, IsWhatATestSets)
{
    const Production<CurrentTime> atTheEnd;
    MockFactory<CurrentTime>::mocked = [] { return QSharedPointer<CurrentTime>(new StandingTime(moment)); };
    EXPECT_EQ(MockFactory<CurrentTime>::create()->currentDateTime(), moment);
}

TEST(Logger, IsTheSameObjectForTheSameNameWhateverTheFactory)
{
    Log4Qt::Logger* logger = utils::logger(u"loyalty"_s);
    ASSERT_NE(logger, nullptr);
    EXPECT_EQ(utils::logger(u"loyalty"_s), logger);
    EXPECT_EQ(utils::logger(u"loyalty"_s, u"factory"_s), logger);
    EXPECT_NE(utils::logger(u"another"_s), logger);
}

} // namespace
