#include "host/network/idlework.h"
#include "tests/unit/network/scene.h"

#include <QThread>

#include <gmock/gmock.h>

#include <chrono>
#include <optional>
#include <stdexcept>
#include <thread>

using namespace std::chrono_literals;

namespace {

/// Work that notes its longest pause; takes the place of the thread's own, if there is one, while it lives.
class Watched
{
public:
    Watched()
        : m_work([this] { note(); })
    {
        m_clock.start();
    }
    [[nodiscard]] int calls() const { return m_calls; }
    [[nodiscard]] qint64 longestPause() const { return m_longest; }

private:
    void note()
    {
        ++m_calls;
        m_longest = std::max(m_longest, m_clock.restart());
    }

    int m_calls = 0;
    qint64 m_longest = 0;
    QElapsedTimer m_clock;
    IdleWork m_work;
};

test_support::HttpAnswer lateAnswer(std::chrono::milliseconds delay)
{
    auto answer = test_support::HttpAnswer::status(200, "{}");
    answer.delay = delay;
    return answer;
}

/// On a thread of its own, because the tests' main thread may have idle work already.
template <typename Body>
void onOwnThread(Body body)
{
    std::thread(body).join();
}

TEST(IdleWork, GoesOnWhileARequestWaits)
{
    onOwnThread([] {
        const Watched watched;
        EXPECT_EQ(getAnswer(lateAnswer(300ms)).errorCode, 0);
        EXPECT_GE(watched.calls(), 10);
        testing::Test::RecordProperty("longest_pause_ms", static_cast<int>(watched.longestPause()));
    });
}

TEST(IdleWork, IsNotDoneForTheRequestsOfOtherThreads)
{
    onOwnThread([] {
        const Watched watched;
        onOwnThread([] { EXPECT_EQ(getAnswer(lateAnswer(100ms)).errorCode, 0); });
        EXPECT_EQ(watched.calls(), 0);
    });
}

TEST(IdleWork, IsOverWithItsObject)
{
    onOwnThread([] {
        std::optional<Watched> watched(std::in_place);
        EXPECT_NE(IdleWork::current(), nullptr);
        watched.reset();
        EXPECT_EQ(IdleWork::current(), nullptr);
        EXPECT_EQ(getAnswer(lateAnswer(50ms)).errorCode, 0);
    });
}

TEST(IdleWork, PassesItsExceptionToWhoeverMadeTheRequest)
{
    onOwnThread([] {
        const IdleWork work([] { throw std::runtime_error("stop"); });
        EXPECT_THROW(getAnswer(lateAnswer(300ms)), std::runtime_error);
    });
}

TEST(IdleWork, ChangesNothingOfTheTimeout)
{
    onOwnThread([] {
        const Watched watched;
        const Outcome outcome = getAnswer(lateAnswer(10s), 1);
        EXPECT_EQ(outcome.errorCode, code(RestClient::ErrorCode::Timeout));
        EXPECT_GE(outcome.milliseconds, 900);
        EXPECT_LT(outcome.milliseconds, 5000);
    });
}

} // namespace
