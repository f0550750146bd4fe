#include "host/queue/messagequeue.h"
#include "host/queue/queuedelivery.h"
#include "host/storage/filelock.h"
#include "host/storage/journal.h"
#include "tests/support/fakeservice.h"
#include "tests/support/logcapture.h"
#include "tests/unit/storage/scene.h"

#include <gmock/gmock.h>

using namespace Qt::StringLiterals;
using testing::ElementsAre;
using testing::IsEmpty;
using State = QueuedMessage::State;

namespace {

class Delivery : public test_support::Storage
{
protected:
    qint64 add(const QString& group, const QString& path, const QVariantMap& with = {})
    {
        QVariantMap message{{u"method"_s, u"POST"_s},
                            {u"headers"_s, QVariantMap{{u"Authorization"_s, u"Basic x"_s}}},
                            {u"body"_s, R"({"a":1})"_ba},
                            {u"timeout"_s, 7},
                            {u"url"_s, u"http://service/"_s + path}};
        message.insert(with);
        return queue.enqueue(u"kyrloyalty"_s, group, message, {});
    }
    QueueDelivery::Summary run() { return QueueDelivery(queue).run(); }
    /// The paths sent so far.
    [[nodiscard]] QStringList sent() const
    {
        QStringList result;
        for (const auto& request : service.requests())
            result.append(request.url.path());
        return result;
    }
    [[nodiscard]] QueuedMessage first() const { return queue.messages(1).value(0); }

    MessageQueue queue;
    test_support::FakeService service;
};

TEST_F(Delivery, SendsTheMessageAsItSays)
{
    add(u"R-1"_s, u"post"_s);
    add(u"R-1"_s, u"put"_s, {{u"method"_s, u"PUT"_s}});
    add(u"R-1"_s, u"get"_s, {{u"method"_s, u"GET"_s}, {u"body"_s, QByteArray()}});
    for (int i = 0; i < 3; ++i)
        service.answer("{}");
    const auto summary = run();
    EXPECT_EQ(summary.delivered, 3);
    EXPECT_EQ(summary.waiting, 0);
    EXPECT_EQ(summary.parked, 0);
    EXPECT_EQ(summary.firstError, QString());
    EXPECT_THAT(service.calls(), ElementsAre(u"POST http://service/post"_s, u"PUT http://service/put"_s,
                                             u"GET http://service/get"_s));
    EXPECT_EQ(service.requests()[0].body, R"({"a":1})");
    EXPECT_EQ(service.requests()[0].timeout, 7);
    EXPECT_EQ(service.requests()[0].headers, (QHash<QString, QString>{{u"Authorization"_s, u"Basic x"_s}}));
    EXPECT_THAT(queue.messages(10), IsEmpty());
}

TEST_F(Delivery, OfNothingSendsNothing)
{
    EXPECT_EQ(run().delivered, 0);
    EXPECT_THAT(sent(), IsEmpty());
}

TEST_F(Delivery, LeavesWhatMayPassToTheNextRun)
{
    // RestClient's own codes for no whole answer and for a redirect, and statuses that say "later".
    for (const int code : {1, 2, 3, 4, 5, 6, 401, 408, 425, 429, 500, 502, 503, 599}) {
        const qint64 id = add(u"R-1"_s, QString::number(code));
        service.answer({}, code);
        const auto failed = run();
        EXPECT_EQ(failed.delivered, 0) << code;
        EXPECT_EQ(failed.waiting, 1) << code;
        EXPECT_EQ(failed.parked, 0) << code;
        EXPECT_NE(failed.firstError, QString()) << code;
        EXPECT_EQ(first().id, id);
        EXPECT_EQ(first().attempts, 1);
        EXPECT_EQ(first().lastError, failed.firstError);
        service.answer("{}");
        EXPECT_EQ(run().delivered, 1) << code;
    }
}

TEST_F(Delivery, TellsTheAdministratorOfAMessageThatIsParked)
{
    const test_support::LogCapture log(u"network"_s);
    const qint64 id = add(u"R-1"_s, u"refused"_s);
    service.answer("{}", 404);
    run();
    EXPECT_THAT(log.lines(), testing::Contains(u"warn: Queue: message %1 is parked"_s.arg(id)));
}

TEST_F(Delivery, ParksWhatTheServiceRefuses)
{
    for (const int status : {400, 403, 404, 409, 410, 422, 499}) {
        const qint64 id = add(u"R-1"_s, QString::number(status));
        service.answer("{}", status);
        const auto summary = run();
        EXPECT_EQ(summary.parked, 1) << status;
        EXPECT_EQ(summary.waiting, 0) << status;
        EXPECT_EQ(first().lastError, u"HTTP %1"_s.arg(status));
        EXPECT_EQ(first().state, State::Parked);
        const qsizetype requests = service.requests().size();
        run();
        EXPECT_EQ(service.requests().size(), requests) << "a parked message is not sent again";
        queue.drop(id);
    }
}

TEST_F(Delivery, ParksWithTheServicesOwnWords)
{
    add(u"R-1"_s, u"x"_s);
    service.answer(R"({"data":[{"message":"Карта не найдена"},{"message":{"b":["C","D"],"a":"E","n":5}},
                      {"message":null},{},"bare"]})",
                   400);
    EXPECT_EQ(run().firstError, u"Карта не найдена\nE\nC\nD"_s);
    EXPECT_EQ(first().lastError, u"Карта не найдена\nE\nC\nD"_s);
}

TEST_F(Delivery, KeepsACodeThatNobodyKnowsForLater)
{
    add(u"R-1"_s, u"x"_s);
    service.answer({}, 42);
    const auto summary = run();
    EXPECT_EQ(summary.waiting, 1);
    EXPECT_EQ(summary.firstError, u"error 42"_s);
}

TEST_F(Delivery, TellsWhatTheAnswersOfDeliveredMessagesSaid)
{
    add(u"R-1"_s, u"well"_s);
    add(u"R-2"_s, u"badly"_s);
    service.answer(R"({"earned":7})");
    service.answer(R"({"earned":8})", 503);
    QueueDelivery::Options options;
    options.account = [](const QueuedMessage& message, const QVariant& answer) {
        return message.group + u" earned "_s + answer.toMap().value(u"earned"_s).toString();
    };
    QStringList told;
    options.attempted = [&told](const QueuedMessage& /*message*/, const QueueAttempt& attempt) {
        told.append(attempt.account);
    };
    QueueDelivery(queue, options).run();
    EXPECT_THAT(told, ElementsAre(u"R-1 earned 7"_s, QString()));
    EXPECT_EQ(storage::Journal().of(u"R-1"_s).last().detail, u"R-1 earned 7"_s);
}

TEST_F(Delivery, PutsTheStatusBeforeTheWordsOfAPassingFailure)
{
    add(u"R-1"_s, u"x"_s);
    service.answer(R"({"data":[{"message":"Позже"}]})", 503);
    EXPECT_EQ(run().firstError, u"HTTP 503: Позже"_s);
}

TEST_F(Delivery, ParksAMessageThatCannotBeSentAtAll)
{
    add(u"A"_s, u"x"_s, {{u"method"_s, u"DELETE"_s}});
    add(u"B"_s, u"x"_s, {{u"method"_s, u"GET"_s}}); // with a body
    add(u"C"_s, u"bad-url"_s);
    service.answer({}, 7);
    add(u"D"_s, u"bad-header"_s);
    service.answer({}, 8);
    EXPECT_EQ(run().parked, 4);
    EXPECT_THAT(sent(), ElementsAre(u"/bad-url"_s, u"/bad-header"_s));
}

TEST_F(Delivery, HoldsAReceiptsLaterMessagesBehindAFailedOneAndNoOthers)
{
    add(u"A"_s, u"a1"_s);
    add(u"B"_s, u"b1"_s);
    add(u"A"_s, u"a2"_s);
    add(u"B"_s, u"b2"_s);
    service.answer({}, 503);
    service.answer("{}");
    service.answer("{}");
    const auto summary = run();
    EXPECT_EQ(summary.delivered, 2);
    EXPECT_EQ(summary.waiting, 2);
    EXPECT_THAT(sent(), ElementsAre(u"/a1"_s, u"/b1"_s, u"/b2"_s));
    service.answer("{}");
    service.answer("{}");
    EXPECT_EQ(run().delivered, 2);
    EXPECT_THAT(sent().sliced(3), ElementsAre(u"/a1"_s, u"/a2"_s));
}

TEST_F(Delivery, HoldsAReceiptsLaterMessagesBehindAParkedOneUntilItIsRetried)
{
    const qint64 parked = add(u"A"_s, u"a1"_s);
    add(u"A"_s, u"a2"_s);
    service.answer("{}", 400);
    EXPECT_EQ(run().waiting, 1);
    EXPECT_EQ(run().delivered, 0);
    EXPECT_THAT(sent(), ElementsAre(u"/a1"_s));
    queue.retry(parked);
    service.answer("{}");
    service.answer("{}");
    EXPECT_EQ(run().delivered, 2);
    EXPECT_THAT(sent(), ElementsAre(u"/a1"_s, u"/a1"_s, u"/a2"_s));
}

TEST_F(Delivery, GoesOnWithAReceiptWhoseParkedMessageWasDropped)
{
    const qint64 parked = add(u"A"_s, u"a1"_s);
    add(u"A"_s, u"a2"_s);
    service.answer("{}", 400);
    run();
    queue.drop(parked);
    service.answer("{}");
    EXPECT_EQ(run().delivered, 1);
}

TEST_F(Delivery, HoldsNothingBehindAMessageOfNoReceipt)
{
    add({}, u"1"_s);
    add({}, u"2"_s);
    add({}, u"3"_s);
    service.answer({}, 1);
    service.answer("{}", 400);
    service.answer("{}");
    const auto summary = run();
    EXPECT_EQ(summary.delivered, 1);
    EXPECT_EQ(summary.waiting, 1);
    EXPECT_EQ(summary.parked, 1);
    EXPECT_EQ(summary.firstError, u"no connection to the service"_s);
}

TEST_F(Delivery, ParksADamagedMessageAndGoesOnWithTheOthers)
{
    const qint64 damaged = add(u"A"_s, u"a1"_s);
    add(u"B"_s, u"b1"_s);
    const test_support::RawDatabase raw(path(u"till.sqlite"_s));
    raw.run(u"UPDATE queued SET message = zeroblob(100) WHERE id = ?"_s, {damaged});
    service.answer("{}");
    const auto summary = run();
    EXPECT_EQ(summary.delivered, 1);
    EXPECT_EQ(summary.parked, 1);
    EXPECT_EQ(MessageQueue().find(damaged)->lastError, u"the stored message is damaged"_s);
    EXPECT_THAT(sent(), ElementsAre(u"/b1"_s));
}

TEST_F(Delivery, SendsAgainWhatWasCutOffBeforeItsAnswer)
{
    add(u"A"_s, u"a1"_s);
    service.fail(u"the power is gone"_s);
    EXPECT_THROW(run(), std::runtime_error);
    EXPECT_EQ(MessageQueue().waitingCount(), 1);
    service.answer("{}");
    EXPECT_EQ(run().delivered, 1);
    EXPECT_THAT(sent(), ElementsAre(u"/a1"_s, u"/a1"_s));
}

TEST_F(Delivery, StopsBetweenTwoMessagesWhenAsked)
{
    add(u"A"_s, u"a1"_s);
    std::stop_source source;
    source.request_stop();
    const auto summary = QueueDelivery(queue).run(source.get_token());
    EXPECT_EQ(summary.delivered, 0);
    EXPECT_EQ(summary.waiting, 1);
}

TEST_F(Delivery, IsRefusedWhileAnotherIsUnderWay)
{
    const qint64 id = add(u"A"_s, u"a1"_s);
    const QDateTime due = QDateTime::currentDateTimeUtc().addSecs(60);
    queue.failed(id, {.code = 1, .error = u"away"_s}, due);
    {
        const storage::FileLock another(u"queue.lock"_s);
        EXPECT_EQ(failure([this] { run(); }), u"hostStorageLocked"_s);
        EXPECT_EQ(queue.find(id)->due, due) << "the other's pauses are its own";
    }
    service.answer("{}");
    EXPECT_EQ(run().delivered, 1);
}

} // namespace
