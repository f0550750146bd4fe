#include "host/queue/queuealarms.h"
#include "host/queue/queuepause.h"

#include <gmock/gmock.h>

using namespace std::chrono_literals;
using network::longestPause;
using network::pauseAfter;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

TEST(Pause, DoublesFromASecondToAboutFiveMinutes)
{
    EXPECT_EQ(pauseAfter(1, 0.5), 1s);
    EXPECT_EQ(pauseAfter(2, 0.5), 2s);
    EXPECT_EQ(pauseAfter(5, 0.5), 16s);
    EXPECT_EQ(pauseAfter(8, 0.5), 128s);
    EXPECT_EQ(pauseAfter(9, 0.5), 240s);
    EXPECT_EQ(pauseAfter(1000000000, 0.5), 240s);
}

TEST(Pause, MovesByAQuarterToEitherSide)
{
    EXPECT_EQ(pauseAfter(1, 0), 750ms);
    EXPECT_EQ(pauseAfter(1, 1), 1250ms);
    EXPECT_EQ(pauseAfter(4, 0), 6s);
    EXPECT_EQ(pauseAfter(4, 1), 10s);
    EXPECT_LT(pauseAfter(4, 0.3), pauseAfter(4, 0.31));
}

TEST(Pause, IsNeverAboveFiveMinutesNorBelowThreeQuartersOfASecond)
{
    for (int attempts = -1; attempts < 2000; ++attempts) {
        for (const double random : {-7.0, 0.0, 0.25, 0.999, 1.0, 7.0}) {
            EXPECT_LE(pauseAfter(attempts, random), longestPause) << attempts;
            EXPECT_GE(pauseAfter(attempts, random), 750ms) << attempts;
        }
    }
    EXPECT_EQ(pauseAfter(20, 1), longestPause) << "the bound is reached";
}

class Alarms : public testing::Test
{
protected:
    [[nodiscard]] QList<QueueAlarm> alarms() const { return alarmsOf(health, now, 10min); }

    const QDateTime now = QDateTime::fromString(QStringLiteral("2026-03-02T09:00:00Z"), Qt::ISODate);
    QueueHealth health;
};

TEST_F(Alarms, AreSilentWhileMessagesWaitForNoLongerThanIsUsual)
{
    EXPECT_THAT(alarms(), IsEmpty());
    health.waiting = 1000;
    health.oldestWaiting = now.addSecs(-600);
    health.lastError = QStringLiteral("HTTP 503");
    EXPECT_THAT(alarms(), IsEmpty());
    health.oldestWaiting = now.addSecs(600); // the clock jumped back
    EXPECT_THAT(alarms(), IsEmpty());
}

TEST_F(Alarms, TellOfAMessageThatWaitsLongerThanOnesPatience)
{
    health.waiting = 1;
    health.oldestWaiting = now.addSecs(-601);
    EXPECT_THAT(alarms(), ElementsAre(QueueAlarm::WaitingTooLong));
}

TEST_F(Alarms, TellOfAParkedMessageAtOnce)
{
    health.parked = 1;
    EXPECT_THAT(alarms(), ElementsAre(QueueAlarm::Parked));
}

TEST_F(Alarms, TellOfRefusedCredentialsWhileSomethingWaits)
{
    health.credentialsRefused = now.addSecs(-1);
    EXPECT_THAT(alarms(), IsEmpty()) << "nobody asks, so nobody knows whether it is still so";
    health.waiting = 1;
    health.oldestWaiting = now;
    EXPECT_THAT(alarms(), ElementsAre(QueueAlarm::CredentialsRefused));
}

TEST_F(Alarms, BeginWithTheGravest)
{
    health = {.waiting = 1,
              .parked = 1,
              .oldestWaiting = now.addDays(-1),
              .credentialsRefused = now.addDays(-1),
              .lastDelivered = {},
              .lastError = {}};
    EXPECT_THAT(alarms(),
                ElementsAre(QueueAlarm::CredentialsRefused, QueueAlarm::Parked, QueueAlarm::WaitingTooLong));
}

} // namespace
