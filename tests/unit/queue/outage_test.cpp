#include "host/network/parallelclient.h"
#include "host/network/restclient.h"
#include "host/queue/retrybackoff.h"
#include "host/storage/store.h"
#include "tests/unit/queue/scene.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QMap>

#include <gmock/gmock.h>

#include <random>
#include <stdexcept>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;
using test_support::StillClock;
using ErrorCode = RestClient::ErrorCode;

namespace {

/// A service that keeps books of its own: which receipt numbers it has taken, in what order for each group.
/// Whether it answers, and with what, is another matter.
class FlakyService
{
public:
    explicit FlakyService(StillClock& clock)
        : m_clock(clock)
    {
        MockFactory<ParallelClient>::mocked = [this] {
            return QSharedPointer<ParallelClient>(new Client(*this));
        };
    }
    ~FlakyService() { MockFactory<ParallelClient>::mocked = nullptr; }
    FlakyService(const FlakyService&) = delete;
    FlakyService& operator=(const FlakyService&) = delete;

    /// Well from then on.
    void recover() { m_well = true; }

    [[nodiscard]] const QMap<QString, QList<int>>& books() const { return m_books; }
    [[nodiscard]] const QMap<int, int>& mishaps() const { return m_mishaps; }
    [[nodiscard]] int repeats() const { return m_repeats; }
    [[nodiscard]] int powerCuts() const { return m_powerCuts; }
    /// The most that were under way at once.
    [[nodiscard]] qsizetype sideBySide() const { return m_sideBySide; }

private:
    enum Mishap {
        Refused,
        Unavailable,
        Reset,
        ResetAfterActing,
        Truncated,
        Portal,
        OddJson,
        Late,
        Unauthorized
    };

    /// Of those that are under way together, the answers come in any order.
    class Client : public ParallelClient
    {
    public:
        explicit Client(FlakyService& service)
            : m_service(service)
        {}
        void begin(qint64 id, network::Request request) override
        {
            const int code = m_service.take(QJsonDocument::fromJson(request.body).object());
            m_finished.insert(m_service.pick(m_finished.size() + 1), {id, code, QVariantMap()});
            m_service.noteSideBySide(m_finished.size());
        }
        [[nodiscard]] QList<Finished> finished(std::chrono::milliseconds /*longest*/) override
        {
            const qsizetype some = 1 + m_service.pick(m_finished.size());
            const QList<Finished> over = m_finished.first(some);
            m_finished.remove(0, some);
            return over;
        }
        void abandon() override { m_finished.clear(); }

    private:
        FlakyService& m_service;
        QList<Finished> m_finished;
    };

    qsizetype pick(qsizetype of) { return static_cast<qsizetype>(m_random()) % of; }
    void noteSideBySide(qsizetype count) { m_sideBySide = std::max(m_sideBySide, count); }

    void act(const QJsonObject& receipt)
    {
        QList<int>& taken = m_books[receipt.value(u"group"_s).toString()];
        const int number = receipt.value(u"number"_s).toInt();
        if (taken.contains(number))
            ++m_repeats;
        else
            taken.append(number);
    }

    /// What RestClient would make of the answer.
    int take(const QJsonObject& receipt)
    {
        m_clock.move(50ms);
        const auto chance = m_random() % 1000;
        if (m_well || chance < 20) { // a week down, with gaps
            act(receipt);
            // In the rarest of them the power fails between the answer and the note of it.
            if (!m_well && chance == 0) {
                ++m_powerCuts;
                throw std::runtime_error("the power is gone");
            }
            return 0;
        }
        const auto mishap = static_cast<Mishap>(m_random() % 9);
        ++m_mishaps[mishap];
        switch (mishap) {
        case Refused:
        case Reset:
            return static_cast<int>(ErrorCode::Connect);
        case Unavailable:
            return 503;
        case Unauthorized:
            return 401;
        case Portal: // 200 and a page of HTML
            return static_cast<int>(ErrorCode::BrokenAnswer);
        case Late: // drips its answer until nobody waits any more
            m_clock.move(7s);
            actSeldom(receipt);
            return static_cast<int>(ErrorCode::Timeout);
        case ResetAfterActing:
            actSeldom(receipt);
            return static_cast<int>(ErrorCode::Connect);
        case Truncated:
            actSeldom(receipt);
            return static_cast<int>(ErrorCode::BrokenAnswer);
        case OddJson: // a 200 whose JSON is not the usual one is still the service's word that it acted
            if (!actSeldom(receipt))
                return 500;
            return 0;
        }
        return 500;
    }
    bool actSeldom(const QJsonObject& receipt)
    {
        const bool acts = m_random() % 20 == 0;
        if (acts)
            act(receipt);
        return acts;
    }

    StillClock& m_clock;
    std::mt19937 m_random{20260302}; // the same week each time
    QMap<QString, QList<int>> m_books;
    QMap<int, int> m_mishaps;
    int m_repeats = 0;
    int m_powerCuts = 0;
    qsizetype m_sideBySide = 0;
    bool m_well = false;
};

class Outage : public test_support::Storage
{
protected:
    static constexpr int groups = 40;
    static constexpr int perGroup = 5;

    void add(int number)
    {
        const QString group = u"R-%1"_s.arg(number % groups);
        const QJsonObject receipt{{u"group"_s, group}, {u"number"_s, number / groups}};
        MessageQueue().enqueue(u"q"_s, group,
                               test_support::messageTo(u"http://service/x"_s,
                                                       QJsonDocument(receipt).toJson(QJsonDocument::Compact)),
                               {});
    }
    /// One look at the queue by a till that may be killed in the midst of it.
    static void pass(const QueueDelivery::Options& options)
    {
        try {
            MessageQueue queue;
            const auto lock = QueueDelivery::lock();
            QueueDelivery(queue, options).deliverDue(*lock);
        } catch (const std::runtime_error&) {
            return; // started again by the next call
        }
    }

    StillClock clock;
    FlakyService service{clock};
};

TEST_F(Outage, OfAWeekLosesNothingRepeatsNothingInTheBooksAndKeepsTheOrderOfEachGroup)
{
    std::mt19937 random{7};
    QueueDelivery::Options options;
    options.random = [&random] { return static_cast<double>(random()) / std::mt19937::max(); };
    const auto keptOpen = storage::store();

    const QDateTime end = clock.now().addDays(7);
    constexpr int all = groups * perGroup;
    int added = 0;
    for (int look = 0; clock.now() < end; ++look) {
        // Most of the week brings receipts, the nights bring nobody.
        if (added < all)
            add(added++);
        pass(options);
        clock.move(clock.now().time().hour() < 18 ? std::chrono::milliseconds(10min) : 15h);
        if (look == 100)
            clock.move(-3h); // somebody sets the clock
    }
    EXPECT_EQ(added, all);
    EXPECT_GT(MessageQueue().waitingCount(), 0) << "a week as bad as that is not over before its end";

    service.recover();
    const QDateTime recovered = clock.now();
    clock.move(network::longestPause);
    pass(options);
    clock.move(network::longestPause);
    pass(options);

    const QueueHealth health = MessageQueue().health();
    EXPECT_EQ(health.waiting, 0) << "all is delivered within two of the longest pauses";
    EXPECT_EQ(health.parked, 0);
    EXPECT_EQ(health.oldestWaiting, QDateTime());
    EXPECT_GT(health.lastDelivered, recovered);
    const QList<int> inOrder{0, 1, 2, 3, 4};
    EXPECT_EQ(service.books().size(), groups);
    for (auto group = service.books().cbegin(); group != service.books().cend(); ++group)
        EXPECT_EQ(*group, inOrder) << group.key().toStdString();
    EXPECT_EQ(service.mishaps().size(), 9) << "everything that can go wrong did";
    EXPECT_GT(service.repeats(), 0);
    EXPECT_GT(service.powerCuts(), 0);
    EXPECT_EQ(service.sideBySide(), 4);
}

} // namespace
