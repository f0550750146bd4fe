#include "tests/unit/queue/deliveryinsteps.h"
#include "tests/unit/queue/heldservice.h"

#include <gmock/gmock.h>

using namespace Qt::StringLiterals;
using testing::ElementsAre;

namespace {

using Sending = queuetest::DeliveryInSteps;

TEST_F(Sending, SendsThePresentCredentialsInPlaceOfTheStoredOnesWhereTheyAreGiven)
{
    options.authorization = [](const QUrl& url) {
        return url.host() == u"service"_s ? u"Basic new"_s : QString();
    };
    QVariantMap message = test_support::messageTo(u"http://service/a"_s);
    message.insert(u"headers"_s, QVariantMap{{u"AUTHORIZATION"_s, u"Basic x"_s}, {u"B"_s, u"b"_s}});
    queue.enqueue(u"q"_s, {}, message, {});
    queue.enqueue(u"q"_s, {}, test_support::messageTo(u"http://elsewhere/a"_s), {});
    answer({0, 0});
    pass();
    using Headers = QHash<QString, QString>;
    EXPECT_EQ(service.requests()[0].headers,
              (Headers{{u"Authorization"_s, u"Basic new"_s}, {u"B"_s, u"b"_s}}));
    EXPECT_EQ(service.requests()[1].headers, (Headers{{u"Authorization"_s, u"Basic x"_s}}));
}

TEST_F(Sending, SendsToAnAddressThatWasKeptAsOne)
{
    QVariantMap message = test_support::messageTo({});
    message.insert(u"url"_s, QUrl(u"http://service/a%20b"_s));
    queue.enqueue(u"q"_s, {}, message, {});
    answer({0});
    EXPECT_EQ(pass().delivered, 1);
    EXPECT_EQ(service.requests()[0].url, QUrl(u"http://service/a%20b"_s));
}

TEST_F(Sending, OfAQueueThatManyDeliverHoldsNoLock)
{
    const auto others = QueueDelivery::lock();
    add({}, u"1"_s);
    answer({0});
    EXPECT_EQ(QueueDelivery(queue, options).deliverDue().delivered, 1);
    EXPECT_THAT(sent(), ElementsAre(u"1"_s));
}

TEST_F(Sending, SaysThatAMessageWasDeliveredWhichSomebodyDroppedMeanwhile)
{
    const qint64 id = add({}, u"1"_s);
    options.attempting = [this](const QueuedMessage& message) { queue.drop(message.id); };
    answer({0});
    EXPECT_EQ(pass().delivered, 1);
    EXPECT_THAT(networkLog.lines(),
                ElementsAre(u"warn: Queue: message %1 was delivered while being dropped"_s.arg(id)));
}

TEST_F(Sending, CommitsNothingWhileNoAnswerHasCome)
{
    test_support::HeldService held;
    add({}, u"1"_s);
    qint64 before = 0;
    int asked = 0;
    held.over = [&](const QList<test_support::HeldService::Request>& underWay) {
        QList<test_support::HeldService::Finished> over;
        if (++asked == 1) {
            before = storage::Database::commits();
        } else {
            EXPECT_EQ(storage::Database::commits(), before);
            over.append(test_support::HeldService::well(underWay.first()));
        }
        return over;
    };
    QueueDelivery delivery(queue, options);
    EXPECT_EQ(passOf(delivery).delivered, 1);
    EXPECT_EQ(asked, 2);
}

TEST_F(Sending, TellsOfEachAttempt)
{
    QStringList told;
    options.attempted = [&told](const QueuedMessage& message, const QueueAttempt& attempt) {
        told.append(u"%1: %2 %3"_s.arg(message.group).arg(attempt.code).arg(attempt.error));
    };
    add(u"A"_s, u"a"_s);
    add(u"B"_s, u"b"_s);
    answer({503, 0});
    pass();
    EXPECT_THAT(told, ElementsAre(u"A: 503 HTTP 503"_s, u"B: 0 "_s));
}

TEST_F(Sending, IsNobodyElsesWhileSomebodyHoldsTheLock)
{
    const auto lock = QueueDelivery::lock();
    EXPECT_NE(lock, nullptr);
    EXPECT_EQ(QueueDelivery::lock(), nullptr);
}

} // namespace
