#include "host/network/dbqueuebroker.h"

#include "host/network/messagequeue.h"

#include <utility>

template class Singleton<DBQueueBroker>;

namespace {

std::function<QString()>& groupSource()
{
    static std::function<QString()> source;
    return source;
}

} // namespace

DBQueueBroker::DBQueueBroker() = default;

DBQueueBroker::~DBQueueBroker() = default;

void DBQueueBroker::enqueue(const QString& queueName, const QVariantMap& message, const QString& text)
{
    const QString group = groupSource() ? groupSource()() : QString();
    try {
        if (!m_queue)
            m_queue = std::make_unique<MessageQueue>();
        m_queue->enqueue(queueName, group, message, text);
    } catch (...) {
        m_queue.reset(); // whatever was wrong with the file may be mended by the next call
        throw;
    }
}

void DBQueueBroker::setGroupSource(std::function<QString()> source) { groupSource() = std::move(source); }
