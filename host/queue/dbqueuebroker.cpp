#include "host/queue/dbqueuebroker.h"

#include "host/queue/messagequeue.h"
#include "host/storage/store.h"

#include <utility>

template class Singleton<DBQueueBroker>;

namespace {

std::function<QString()>& groupSource()
{
    static std::function<QString()> source;
    return source;
}

} // namespace

DBQueueBroker::DBQueueBroker()
    : m_queue(std::make_unique<storage::StoreUser<MessageQueue>>())
{}

DBQueueBroker::~DBQueueBroker() = default;

void DBQueueBroker::enqueue(const QString& queueName, const QVariantMap& message, const QString& text)
{
    const QString group = groupSource() ? groupSource()() : QString();
    m_queue->get().enqueue(queueName, group, message, text);
}

void DBQueueBroker::setGroupSource(std::function<QString()> source) { groupSource() = std::move(source); }
