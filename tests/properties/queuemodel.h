#pragma once

#include "host/queue/outgoingqueue.h"

#include <iosfwd>
#include <vector>

namespace properties {

/// Something that a till, a delivery or an administrator does to the queue. What `which` means depends on it.
struct Step
{
    enum Kind {
        Enqueue,  ///< a message of that receipt, or of none
        Begin,    ///< the delivery takes the next one; it is under way from then on
        Deliver,  ///< that one of those under way
        Fail,     ///< the same, to be tried again later
        Park,     ///< the same
        Retry,    ///< that message of the queue
        Drop,     ///< the same
        Expedite, ///< all pauses end
        Wait,     ///< so many minutes
        Reopen,   ///< by a program that comes later
    };
    static constexpr int kinds = Reopen + 1;

    Kind kind = Enqueue;
    int which = 0;
};

void showValue(const Step& step, std::ostream& out);

/// The queue as one would write it who had nothing to keep: a list.
class QueueModel
{
public:
    struct Message
    {
        qint64 id = 0;
        QString group;
        bool isParked = false;
        int attempts = 0;
        qint64 due = 0; ///< milliseconds since 1970; 0: at once
    };

    void enqueue(qint64 id, const QString& group) { m_messages.push_back({.id = id, .group = group}); }
    /// The id of the one to send next beside those; 0: none.
    [[nodiscard]] qint64 next(qint64 now, const std::vector<qint64>& underWay) const;
    /// Each is whether the queue says that it did so.
    bool remove(qint64 id);
    bool fail(qint64 id, qint64 due);
    bool park(qint64 id);
    bool retry(qint64 id);
    void expedite();

    [[nodiscard]] const std::vector<Message>& messages() const { return m_messages; }

private:
    [[nodiscard]] Message* find(qint64 id);
    /// Whether nothing of its receipt comes before it.
    [[nodiscard]] bool isHead(const Message& message) const;

    std::vector<Message> m_messages;
};

} // namespace properties
