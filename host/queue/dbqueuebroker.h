#pragma once

#include "host/utils/export.h"
#include "host/utils/registration.h"
#include "host/utils/singleton.h"

#include <QString>
#include <QVariantMap>

#include <functional>
#include <memory>

class MessageQueue;
namespace storage {
template <class User>
class StoreUser;
}

/// The host's persistent outgoing queue: what it accepts is sent later, however long that takes.
/// QueueDelivery sends it, MessageQueue reads it.
class HOST_EXPORT DBQueueBroker
{
public:
    /// Opens nothing yet: the file is opened by the first enqueue(), whose thread then has to make the
    /// others.
    DBQueueBroker();
    virtual ~DBQueueBroker();
    DBQueueBroker(const DBQueueBroker&) = delete;
    DBQueueBroker& operator=(const DBQueueBroker&) = delete;

    /// Puts a message into the named queue; when it returns, the message is durable. `message` holds "method"
    /// (text: POST, PUT, or GET without a body), "url" (text, absolute), "headers" (map of texts by name),
    /// "body" (bytes) and "timeout" (whole number of seconds); `text` describes it to the administrator.
    /// Throws BasicException when the message cannot be kept; then it is not in the queue, and the next call
    /// tries the file anew.
    virtual void enqueue(const QString& queueName, const QVariantMap& message, const QString& text);

    /// Who says which receipt a message that is just enqueued belongs to: messages of one receipt are
    /// delivered strictly in order, so a return's belong to its sale. Asked once per message on the caller's
    /// thread. Where it says nothing, or there is nobody to ask, the message is independent of all others: it
    /// waits for none and holds none up. Registered while the result lives; throws std::logic_error when
    /// somebody is already.
    static utils::Registration registerGroupSource(std::function<QString()> source);

private:
    std::unique_ptr<storage::StoreUser<MessageQueue>> m_queue;
};

extern template class HOST_EXPORT Singleton<DBQueueBroker>;
