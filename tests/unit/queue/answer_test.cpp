#include "host/storage/journal.h"
#include "tests/support/httpserver.h"
#include "tests/unit/queue/scene.h"

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;
using test_support::HttpAnswer;

namespace {

/// What delivery makes of the very answers that come over the wire.
class DeliveryAnswer : public test_support::Storage
{
protected:
    /// A message, and what is answered to it.
    QueueDelivery::Summary deliver(const QString& method, const HttpAnswer& answer)
    {
        QVariantMap message = test_support::messageTo(server.url(u"/v2/x"_s).toString());
        message.insert(u"method"_s, method);
        queue.enqueue(u"q"_s, {}, message, {});
        return deliverAgain(answer);
    }
    QueueDelivery::Summary deliverAgain(const HttpAnswer& answer)
    {
        server.enqueue(answer);
        return QueueDelivery(queue).run();
    }

    test_support::HttpServer server;
    MessageQueue queue;
};

TEST_F(DeliveryAnswer, IsNoDeliveryWhenItIsEmptyOrNoObject)
{
    for (const QString& method : {u"POST"_s, u"PUT"_s}) {
        for (const HttpAnswer& answer :
             {HttpAnswer::status(204), HttpAnswer::status(200), HttpAnswer::status(200, " \n"),
              HttpAnswer::status(200, "[]"), HttpAnswer::status(200, "1"), HttpAnswer::status(200, "<p>")}) {
            const auto summary = deliver(method, answer);
            EXPECT_EQ(summary.delivered, 0) << answer.bytes.toStdString();
            EXPECT_EQ(summary.waiting, 1) << "it is tried again";
            EXPECT_EQ(summary.firstError, u"the answer is broken, empty or no JSON object"_s);
            EXPECT_EQ(deliverAgain(HttpAnswer::status(200, "{}")).delivered, 1);
        }
    }
}

TEST_F(DeliveryAnswer, IsKeptUpToTwoThousandLetters)
{
    const QByteArray words = QByteArray("x").repeated(2100);
    const auto summary =
        deliver(u"POST"_s, HttpAnswer::status(422, R"({"data":[{"message":")" + words + R"("}]})"));
    EXPECT_EQ(summary.firstError, QString(2000, u'x'));
}

TEST_F(DeliveryAnswer, OfNobodyIsWaitedForWhereTheMessageCannotBeSent)
{
    QVariantMap message = test_support::messageTo(server.url(u"/v2/x"_s).toString());
    for (const QString& method : {u"DELETE"_s, u""_s, u"GET"_s}) {
        message.insert(u"method"_s, method);
        queue.enqueue(u"q"_s, {}, message, {});
        const auto summary = QueueDelivery(queue).run();
        EXPECT_EQ(summary.firstError,
                  u"the message's method cannot be sent: only POST, PUT, and GET without a body"_s);
    }
    message.insert(u"method"_s, u"DELETE"_s);
    message.remove(u"body"_s);
    queue.enqueue(u"q"_s, {}, message, {});
    QueueDelivery(queue).run();
    EXPECT_EQ(queue.parkedCount(), 4);
}

TEST_F(DeliveryAnswer, IsKeptWithoutTheCredentialsThatItRepeats)
{
    QVariantMap message = test_support::messageTo(server.url(u"/v2/x"_s).toString());
    message.insert(u"headers"_s, QVariantMap{{u"Authorization"_s, u"Basic c2hvcDpvcGVuLXNlc2FtZQ=="_s}});
    const qint64 id = queue.enqueue(u"q"_s, u"R-1"_s, message, {});
    const auto summary = deliverAgain(HttpAnswer::status(
        422, R"({"data":[{"message":"Basic c2hvcDpvcGVuLXNlc2FtZQ== is shop:open-sesame"}]})"));
    EXPECT_EQ(summary.firstError, u"Basic *** is shop:***"_s);
    EXPECT_EQ(queue.find(id)->lastError, u"Basic *** is shop:***"_s);
    EXPECT_EQ(storage::Journal().of(u"R-1"_s).last().detail, u"Basic *** is shop:***"_s);
}

} // namespace
