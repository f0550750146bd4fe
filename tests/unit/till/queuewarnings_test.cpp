#include "till/audit/queuewarnings.h"

#include <gmock/gmock.h>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

const auto credentials = u"Служба лояльности"_s;
const auto isParked = u"Сообщений, которые"_s;
const auto waitsTooLong = u"Сообщения не"_s;

class QueueWarnings : public testing::Test
{
protected:
    /// How each begins.
    [[nodiscard]] QStringList warnings() const
    {
        QStringList beginnings;
        for (const auto& warning : till::queueWarnings(health, now, 10min))
            beginnings.append(warning.text.ru().section(u' ', 0, 1));
        return beginnings;
    }

    const QDateTime now = QDateTime::fromString(QStringLiteral("2026-03-02T09:00:00Z"), Qt::ISODate);
    QueueHealth health;
};

TEST_F(QueueWarnings, AreSilentWhileMessagesWaitForNoLongerThanIsUsual)
{
    EXPECT_THAT(warnings(), IsEmpty());
    health.waiting = 1000;
    health.oldestWaiting = now.addSecs(-600);
    health.lastError = QStringLiteral("HTTP 503");
    EXPECT_THAT(warnings(), IsEmpty());
    health.oldestWaiting = now.addSecs(600); // the clock jumped back
    EXPECT_THAT(warnings(), IsEmpty());
}

TEST_F(QueueWarnings, TellOfAMessageThatWaitsLongerThanOnesPatience)
{
    health.waiting = 1;
    health.oldestWaiting = now.addSecs(-601);
    EXPECT_THAT(warnings(), ElementsAre(waitsTooLong));
}

TEST_F(QueueWarnings, TellOfAParkedMessageAtOnce)
{
    health.parked = 1;
    EXPECT_THAT(warnings(), ElementsAre(isParked));
}

TEST_F(QueueWarnings, TellOfRefusedCredentialsWhileSomethingWaits)
{
    health.credentialsSuspended = now.addSecs(-1);
    EXPECT_THAT(warnings(), IsEmpty()) << "nobody asks, so nobody knows whether it is still so";
    health.waiting = 1;
    health.oldestWaiting = now;
    EXPECT_THAT(warnings(), ElementsAre(credentials));
}

TEST_F(QueueWarnings, BeginWithTheGravest)
{
    health = {.waiting = 1,
              .parked = 1,
              .oldestWaiting = now.addDays(-1),
              .credentialsSuspended = now.addDays(-1),
              .lastDelivered = {},
              .lastError = {}};
    EXPECT_THAT(warnings(), ElementsAre(credentials, isParked, waitsTooLong));
}

TEST(StuckWarnings, NameSomeReceiptsWithTheTillsThatHaveUsedTheirIdentifiers)
{
    EXPECT_THAT(till::stuckWarnings(QList<shop::StuckReceipt>()), IsEmpty());
    QList<shop::StuckReceipt> stuck;
    for (int number = 1; number <= 7; ++number)
        stuck.append({u"R-%1"_s.arg(number), u"7"_s});
    const auto warnings = till::stuckWarnings(stuck);
    ASSERT_EQ(warnings.size(), 1);
    EXPECT_EQ(
        warnings[0].text.ru(),
        u"Чеков с номерами, которые уже заняты другой кассой: 7, первый R-1. Сообщите администратору"_s);
    EXPECT_EQ(warnings[0].english,
              u"7 closed here stay here: the shop's database has another receipt of the same identifier: "
              "R-1 of till 7, R-2 of till 7, R-3 of till 7, R-4 of till 7, R-5 of till 7, and 2 more"_s);
    EXPECT_THAT(warnings[0].remedy.toStdString(), testing::HasSubstr("no two tills"));
}

} // namespace
