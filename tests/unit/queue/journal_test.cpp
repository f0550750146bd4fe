#include "host/queue/queueactivity.h"
#include "host/storage/journal.h"
#include "host/storage/store.h"
#include "tests/unit/queue/scene.h"

#include <gmock/gmock.h>

using namespace Qt::StringLiterals;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

class QueueJournal : public test_support::Storage
{
protected:
    qint64 add(const QString& group = u"R-1"_s)
    {
        return queue.enqueue(u"q"_s, group,
                             test_support::messageTo(u"http://service/v2/refuse-payment?x=1"_s), {});
    }
    static QStringList told(const QString& receipt = u"R-1"_s)
    {
        QStringList result;
        for (const auto& entry : storage::Journal().of(receipt))
            result.append(u"%1 %2 #%3 %4 %5 %6 ms"_s.arg(entry.event, entry.operation)
                              .arg(entry.message)
                              .arg(entry.code)
                              .arg(entry.detail)
                              .arg(entry.milliseconds));
        return result;
    }

    MessageQueue queue;
};

TEST_F(QueueJournal, TellsThatAMessageWasPutIn)
{
    const qint64 first = add();
    add({});
    EXPECT_THAT(told(), ElementsAre(u"queued refuse-payment #%1 0  0 ms"_s.arg(first)));
    EXPECT_THAT(storage::Journal().receipts(10), ElementsAre(u"R-1"_s)) << "of no receipt it tells nothing";
}

TEST_F(QueueJournal, CountsTheAttemptsSinceATimeByWhatCameOfThem)
{
    test_support::StillClock clock;
    const qint64 first = add();
    queue.failed(first, {503, {}, 1}, clock.now());
    clock.move(std::chrono::hours(1));
    const QDateTime since = clock.now();
    queue.failed(first, {503, u"HTTP 503"_s, 1}, clock.now());
    queue.failed(first, {502, u"HTTP 502"_s, 1}, clock.now());
    queue.delivered(first, {0, {}, 1});
    queue.retry(add(u"R-2"_s));
    queue.park(add(u"R-3"_s), {0, u"the message's URL is not valid"_s, 0});
    storage::Journal().add(
        {.time = {}, .receipt = u"R-1"_s, .event = u"answer"_s, .operation = {}, .code = 404, .detail = {}});
    using Outcome = network::ExchangeOutcome;
    EXPECT_EQ(network::attemptsSince(since),
              (QMap<Outcome, int>{{Outcome::Failing, 2}, {Outcome::Accepted, 1}, {Outcome::Unsendable, 1}}));
    EXPECT_EQ(network::attemptsSince(since.addSecs(-7200)).value(Outcome::Failing), 3);
    EXPECT_TRUE(network::attemptsSince(since.addSecs(1)).isEmpty());
}

TEST_F(QueueJournal, IsKeptWithTheChangeOrNotAtAll)
{
    {
        const storage::Transaction forgotten;
        add();
    }
    EXPECT_THAT(told(), IsEmpty());
    EXPECT_EQ(queue.waitingCount(), 0);
}

} // namespace
