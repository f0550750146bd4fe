#include "host/queue/outgoingqueue.h"

#include <QUrl>

using namespace Qt::StringLiterals;

QString QueuedMessage::operation() const { return message.value(u"url"_s).toUrl().fileName(); }

OutgoingQueue::~OutgoingQueue() = default;

std::optional<QueuedMessage> OutgoingQueue::after(qint64 id) const
{
    const QList<QueuedMessage> found = messages(1, id);
    return found.isEmpty() ? std::nullopt : std::optional(found.first());
}
