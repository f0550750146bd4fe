#pragma once

#include "host/utils/export.h"
#include "host/utils/singleton.h"

#include <QString>
#include <QVariantMap>

/// The host's persistent outgoing queue: what it accepts is sent later, however long that takes.
///
/// The embedded host has no queue yet: enqueue() throws BasicException, so that nobody believes a message
/// kept.
class HOST_EXPORT DBQueueBroker
{
public:
    virtual ~DBQueueBroker();

    /// Puts a message into the named queue; when it returns, the message is durable. `message` holds
    /// "method", "url", "headers" (map), "body" (bytes) and "timeout" (seconds); `text` describes it to the
    /// administrator.
    virtual void enqueue(const QString& queueName, const QVariantMap& message, const QString& text);
};

extern template class HOST_EXPORT Singleton<DBQueueBroker>;
