#include "till/checkout/deliverynow.h"

#include "host/network/idlework.h"
#include "host/shop/connection.h"
#include "host/shop/schema.h"
#include "host/storage/datadirectory.h"
#include "host/storage/journal.h"
#include "tests/support/fakeservice.h"
#include "tests/support/postgres.h"
#include "tests/unit/queue/scene.h"

#include <QTemporaryDir>

#include <gmock/gmock.h>

#include <thread>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

TEST(DeliverNow, NeverStumblesOverAWorkerThatComesAndGoes)
{
    const QTemporaryDir directory;
    storage::setDataDirectory(directory.path());
    {
        MessageQueue queue;
        const std::jthread worker([](const std::stop_token& stop) {
            while (!stop.stop_requested())
                static_cast<void>(QueueDelivery::lock());
        });
        for (int i = 0; i < 1000; ++i) {
            ASSERT_NO_THROW(static_cast<void>(till::deliverNow(queue, Config{}))) << i;
        }
    }
    storage::setDataDirectory({});
}

/// What waits at a service with the credentials shop:new.
class DeliveringNow : public test_support::Storage
{
protected:
    DeliveringNow()
    {
        set("serverUrl", u"https://service.example"_s);
        set("user", u"shop"_s);
        set("password", u"new"_s);
    }
    /// One that waits out a pause.
    qint64 add(const QString& group, const QString& operation = u"payment-b2c"_s)
    {
        const qint64 id =
            queue.enqueue(u"kyrloyalty"_s, group,
                          test_support::messageTo(u"https://service.example/operation/"_s + operation), {});
        queue.failed(id, {.code = 1, .error = u"no connection to the service"_s}, later());
        return id;
    }
    /// No later than any pause lasts.
    static QDateTime later() { return QDateTime::currentDateTimeUtc().addSecs(240); }
    /// With a worker that does one of these after the other, each while somebody waits for it.
    QueueDelivery::Summary deliverBy(QList<std::function<void()>> steps)
    {
        const auto worker = QueueDelivery::lock();
        EXPECT_TRUE(worker);
        const IdleWork itsWork([&steps] {
            if (!steps.isEmpty())
                steps.takeFirst()();
        });
        const QueueDelivery::Summary summary = deliver();
        EXPECT_TRUE(steps.isEmpty()) << "not waited for";
        return summary;
    }
    /// Nobody reaches its database unless there is one.
    static void joinAShop(const QString& database = u"host=127.0.0.1 port=1"_s)
    {
        Config& config = *Singleton<Config>::instance;
        config.declare(
            {{u"Shop:database"_s, ConfigKey::Type::Text, {}}, {u"Shop:till"_s, ConfigKey::Type::Text, {}}});
        config.set(u"Shop:database"_s, database);
        config.set(u"Shop:till"_s, u"7"_s);
    }
    QueueDelivery::Summary deliver() { return till::deliverNow(queue, *Singleton<Config>::instance); }

    MessageQueue queue;
};

TEST_F(DeliveringNow, EndsThePausesAndSendsWithThePresentPassword)
{
    test_support::FakeService service;
    service.answer(R"({"data":{"paymentBonus":12.5}})");
    add(u"R"_s);
    const auto summary = deliver();
    EXPECT_EQ(summary.delivered, 1);
    EXPECT_EQ(service.requests().value(0).headers.value(u"Authorization"_s),
              u"Basic "_s + QString::fromLatin1("shop:new"_ba.toBase64()));
    EXPECT_EQ(storage::Journal().of(u"R"_s).last().detail, u"earned 12.50 points"_s);
}

TEST_F(DeliveringNow, IsLeftToTheWorkerThatDeliversAlreadyAndWaitedFor)
{
    const qint64 first = add(u"A"_s);
    const qint64 second = add(u"B"_s);
    const qint64 third = add(u"C"_s);
    const auto summary =
        deliverBy({[&] { queue.delivered(first, {}); },
                   [&] { queue.park(second, {.code = 400, .error = u"Карта не найдена"_s}); },
                   [&] { queue.failed(third, {.code = 503, .error = u"HTTP 503"_s}, later()); }});
    EXPECT_EQ(summary.delivered, 1);
    EXPECT_EQ(summary.waiting, 1);
    EXPECT_EQ(summary.parked, 1);
    EXPECT_EQ(summary.firstError, u"HTTP 503"_s);
}

TEST_F(DeliveringNow, TellsThatTheWorkerDeliveredNothing)
{
    const qint64 id = add(u"A"_s);
    const auto summary =
        deliverBy({[&] { queue.failed(id, {.code = 503, .error = u"HTTP 503"_s}, later()); }});
    EXPECT_EQ(summary.delivered, 0);
    EXPECT_EQ(summary.waiting, 1);
    EXPECT_EQ(summary.firstError, u"HTTP 503"_s);
}

TEST_F(DeliveringNow, CountsWhatTheWorkerDeliveredBesideWhatIsParkedAlready)
{
    queue.park(add(u"A"_s), {.code = 400, .error = u"Карта не найдена"_s});
    const qint64 id = add(u"B"_s);
    const auto summary = deliverBy({[&] { queue.delivered(id, {}); }});
    EXPECT_EQ(summary.delivered, 1);
    EXPECT_EQ(summary.waiting, 0);
    EXPECT_EQ(summary.parked, 1);
}

TEST_F(DeliveringNow, TellsNoErrorWhenNothingIsLeft)
{
    const qint64 id = add(u"A"_s);
    const auto summary = deliverBy({[&] {
        queue.park(id, {.code = 400, .error = u"Карта не найдена"_s});
        queue.drop(id);
    }});
    EXPECT_EQ(summary.waiting + summary.parked, 0);
    EXPECT_EQ(summary.firstError, QString());
}

TEST_F(DeliveringNow, DoesNotWaitForAServiceThatRefusesTheCredentials)
{
    const qint64 id = add(u"A"_s);
    add(u"B"_s);
    const auto summary =
        deliverBy({[&] { queue.refused(id, {.code = 401, .error = u"HTTP 401"_s}, later(), later()); }});
    EXPECT_EQ(summary.delivered, 0);
    EXPECT_EQ(summary.waiting, 2);
    EXPECT_EQ(summary.firstError, u"HTTP 401"_s);
}

TEST_F(DeliveringNow, WaitsUntilTheWorkerHasTriedRefusedCredentialsOnceMore)
{
    const qint64 id = add(u"A"_s);
    queue.refused(id, {.code = 401, .error = u"HTTP 401"_s}, later(), later());
    const auto summary = deliverBy({[&] { queue.delivered(id, {}); }});
    EXPECT_EQ(summary.delivered, 1);
    EXPECT_EQ(summary.firstError, QString());
}

TEST_F(DeliveringNow, WaitsForTheWorkerAlsoWithNothingElseToDo)
{
    const qint64 id = add(u"A"_s);
    const auto held = QueueDelivery::lock();
    const std::jthread worker([id](const std::stop_token& stop) {
        MessageQueue its;
        const auto isDue = [&its](const QDateTime& now) { return its.nextDue(now, now).has_value(); };
        while (!isDue(QDateTime::currentDateTimeUtc()) && !stop.stop_requested())
            std::this_thread::sleep_for(1ms);
        its.delivered(id, {});
    });
    EXPECT_EQ(deliver().delivered, 1);
}

TEST_F(DeliveringNow, OfATillOfAShopMovesOnWhatWaitsAndWhatIsParkedAndCountsBoth)
{
    const test_support::Postgres server;
    shop::Connection database(server.address());
    shop::prepare(database);
    joinAShop(server.address());
    add(u"A"_s);
    queue.park(add(u"B"_s), {});
    const auto summary = deliver();
    EXPECT_EQ(summary.delivered, 2);
    EXPECT_EQ(summary.waiting, 0);
    EXPECT_EQ(summary.parked, 0);
    EXPECT_EQ(summary.firstError, QString());
}

TEST_F(DeliveringNow, OfATillWhoseShopCannotBeReachedSaysWhatWaitsAndWhy)
{
    joinAShop();
    EXPECT_THROW(deliver(), shop::DatabaseError) << "there may be receipts, which nobody counts";
    add(u"A"_s);
    queue.park(add(u"B"_s), {});
    const auto summary = deliver();
    EXPECT_EQ(summary.delivered, 0);
    EXPECT_EQ(summary.waiting, 1);
    EXPECT_EQ(summary.parked, 1);
    EXPECT_NE(summary.firstError, QString());
}

TEST_F(DeliveringNow, IsTheWorkersTaskToMoveOnWhereThereIsAShop)
{
    EXPECT_TRUE(till::workerOptions(*Singleton<Config>::instance).alone);
    EXPECT_FALSE(till::workerOptions(*Singleton<Config>::instance).job);
    joinAShop();
    EXPECT_TRUE(till::workerOptions(*Singleton<Config>::instance).job);
}

} // namespace
