#include "host/queue/retrybackoff.h"

#include <gtest/gtest.h>

using namespace std::chrono_literals;
using network::longestPause;
using network::pauseAfter;

namespace {

TEST(Pause, DoublesFromASecondToAboutFiveMinutes)
{
    EXPECT_EQ(pauseAfter(1), 1s);
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

} // namespace
