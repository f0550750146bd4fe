#include "host/queue/dbqueuebroker.h"
#include "host/queue/messagequeue.h"
#include "host/storage/datadirectory.h"
#include "promise.h"

#include <QCoreApplication>
#include <QProcess>

#include <csignal>

using namespace Qt::StringLiterals;

namespace {

QVariantMap message(const QString& body)
{
    return {{u"method"_s, u"POST"_s},
            {u"url"_s, u"http://127.0.0.1:1/v2/partner/operation/payment-b2c"_s},
            {u"headers"_s, QVariantMap{{u"Content-Type"_s, u"application/json"_s}}},
            {u"body"_s, body.toUtf8()},
            {u"timeout"_s, 10}};
}

QList<QueuedMessage> waiting() { return MessageQueue().messages(1000); }

} // namespace

void enqueueAndDie()
{
    DBQueueBroker().enqueue(u"probe"_s, message(u"from a process that died"_s), {});
    raise(SIGKILL);
}

QList<Promise> queue()
{
    return {
        {u"a message that was put in comes out with every value and its type"_s,
         u"a request goes out later with another body, or cannot be sent"_s,
         [] {
             const QVariantMap sent = message(u"{\"Чай\":1.50}"_s);
             DBQueueBroker().enqueue(u"probe"_s, sent, {});
             const auto found = waiting();
             require(found.size() == 1, u"%1 messages wait, not one"_s.arg(found.size()));
             require(found[0].message == sent, u"a value is another"_s);
             for (const char* key : {"body", "timeout", "headers"})
                 require(found[0].message.value(QLatin1StringView(key)).typeId() ==
                             sent.value(QLatin1StringView(key)).typeId(),
                         u"the type of \"%1\" is another"_s.arg(QLatin1StringView(key)));
             require(found[0].queue == u"probe"_s, u"it is in another queue"_s);
         }},
        {u"messages of one receipt keep their order"_s, u"a cancellation overtakes what it cancels"_s,
         [] {
             const auto group = DBQueueBroker::registerGroupSource([] { return u"R-1"_s; });
             DBQueueBroker broker;
             for (const QString& body : {u"1"_s, u"2"_s, u"3"_s})
                 broker.enqueue(u"order"_s, message(body), {});
             QByteArray order;
             for (const auto& one : waiting()) {
                 if (one.queue == u"order"_s)
                     order += one.message.value(u"body"_s).toByteArray();
             }
             require(order == "123", u"they come as \"%1\""_s.arg(QString::fromUtf8(order)));
         }},
        {u"what enqueue() has taken is there after the process was killed"_s,
         u"points of a customer are lost in a power cut"_s,
         [] {
             const auto before = waiting().size();
             QProcess other;
             other.start(QCoreApplication::applicationFilePath(), {u"--enqueue-and-die"_s, folder()});
             require(other.waitForFinished(30'000), u"the other process did not end"_s);
             const auto found = waiting();
             require(found.size() == before + 1 &&
                         found.last().message.value(u"body"_s).toByteArray() == "from a process that died",
                     u"the message of a process that was killed right behind enqueue() is gone"_s);
         }},
    };
}
