#pragma once

#include "host/utils/export.h"

#include <QString>

#include <stop_token>

class MessageQueue;
struct QueuedMessage;

/// Sends what the outgoing queue holds, each message as its "method" on its "url" with its "headers", "body"
/// and "timeout".
///
/// Messages of one group go strictly in order: behind one that could not be sent, or that is parked, the
/// later ones of its group wait, because the service would take a refusal before the sale that it refuses for
/// an error. Groups, and messages without one, are independent of one another.
///
/// Each message is delivered at least once: it leaves the queue only after a 2xx, so that one whose answer
/// was lost on the way, or cut off by a power cut, is sent again. The service tells repeats by their receipt
/// number.
class HOST_EXPORT QueueDelivery
{
public:
    struct Summary
    {
        int delivered = 0;  ///< by this run
        int waiting = 0;    ///< in the queue afterwards
        int parked = 0;     ///< in the queue afterwards
        QString firstError; ///< of this run, in English for the administrator, or in the service's words
    };

    /// The queue must outlive the delivery and belong to the same thread.
    explicit QueueDelivery(MessageQueue& queue);

    /// Goes once over what is in the queue at this moment and waits for each answer. Whatever may have been
    /// the network's or the service's passing trouble is noted with the message, to be tried by the next run:
    /// no whole answer, a redirect, 5xx, 401, 408, 425, 429. What would fail in the same way each time is
    /// parked: another 4xx, with the service's words, and a message that cannot be sent at all. A stop is
    /// heeded between two messages. Throws BasicException when the queue's file can't be used or another
    /// delivery is under way.
    Summary run(const std::stop_token& stop = {});

private:
    /// True when the message is delivered; else the failure is noted with it, and told.
    bool deliver(const QueuedMessage& message, QString& error);

    MessageQueue& m_queue;
};
