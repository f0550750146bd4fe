#include "host/queue/dbqueuebroker.h"

#include "host/queue/messagequeue.h"
#include "host/storage/store.h"

#include <utility>

template class Singleton<DBQueueBroker>;

namespace {

utils::Slot<std::function<QString()>>& groupSource()
{
    static utils::Slot<std::function<QString()>> source("source of the queue's groups");
    return source;
}

} // namespace

DBQueueBroker::DBQueueBroker()
    : m_queue(std::make_unique<storage::StoreUser<MessageQueue>>())
{}

DBQueueBroker::~DBQueueBroker() = default;

void DBQueueBroker::enqueue(const QString& queueName, const QVariantMap& message, const QString& text)
{
    const auto source = groupSource().value();
    m_queue->get().enqueue(queueName, source ? (*source)() : QString(), message, text);
}

utils::Registration DBQueueBroker::registerGroupSource(std::function<QString()> source)
{
    return groupSource().take(std::move(source));
}
