#include "tests/unit/queue/anyqueue.h"

#include "host/queue/messagequeue.h"
#include "tests/unit/queue/scene.h"

using namespace Qt::StringLiterals;

namespace test_support {

qint64 AnyQueue::add(const QString& group)
{
    return add(group, messageTo(u"http://service/v2/refuse-payment?x=1"_s, QByteArray::number(++m_number)));
}

qint64 AnyQueue::add(const QString& group, QVariantMap message)
{
    MessageQueue().enqueue(u"kyrloyalty"_s, group, message, u"text"_s);
    home->take();
    return queue->lastId();
}

QList<qint64> AnyQueue::ids() const
{
    QList<qint64> result;
    for (const QueuedMessage& message : queue->messages(1000))
        result.append(message.id);
    return result;
}

// That it was put in, the till tells.
QString AnyQueue::told(const QString& receipt) const
{
    return home->sql(u"SELECT event, operation, message, code, detail, milliseconds FROM journal "
                     "WHERE receipt = '%1' AND event <> 'queued' ORDER BY id"_s.arg(receipt));
}

QString AnyQueue::gone(qint64 id) const
{
    return home->sql(
        u"SELECT outcome, answer, attempts, error, receipt, text FROM history WHERE id = %1"_s.arg(id));
}

} // namespace test_support
