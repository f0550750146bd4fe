#include "tests/properties/queuemodel.h"

#include <algorithm>
#include <array>
#include <ostream>

namespace properties {

void showValue(const Step& step, std::ostream& out)
{
    constexpr std::array names{"enqueue", "begin", "deliver",  "fail", "park",
                               "retry",   "drop",  "expedite", "wait", "reopen"};
    static_assert(names.size() == Step::kinds);
    out << names.at(step.kind) << ' ' << step.which;
}

qint64 QueueModel::next(qint64 now, const std::vector<qint64>& underWay) const
{
    const auto isBusy = [&](const Message& message) {
        return std::any_of(underWay.cbegin(), underWay.cend(), [&](qint64 id) {
            const auto other = std::find_if(m_messages.cbegin(), m_messages.cend(),
                                            [id](const Message& known) { return known.id == id; });
            return id == message.id ||
                   (other != m_messages.cend() && !other->group.isEmpty() && other->group == message.group);
        });
    };
    const Message* first = nullptr;
    for (const Message& message : m_messages) {
        if (message.isParked || message.due > now || !isHead(message) || isBusy(message))
            continue;
        if (!first || message.due < first->due)
            first = &message;
    }
    return first ? first->id : 0;
}

bool QueueModel::remove(qint64 id)
{
    return std::erase_if(m_messages, [id](const Message& message) { return message.id == id; }) > 0;
}

bool QueueModel::fail(qint64 id, qint64 due)
{
    Message* message = find(id);
    if (!message)
        return false;
    ++message->attempts;
    message->due = due;
    return true;
}

bool QueueModel::park(qint64 id)
{
    Message* message = find(id);
    if (!message)
        return false;
    ++message->attempts;
    message->isParked = true;
    return true;
}

bool QueueModel::retry(qint64 id)
{
    Message* message = find(id);
    if (!message || (!message->isParked && message->due == 0))
        return false;
    message->isParked = false;
    message->due = 0;
    return true;
}

void QueueModel::expedite()
{
    for (Message& message : m_messages) {
        if (!message.isParked)
            message.due = 0;
    }
}

QueueModel::Message* QueueModel::find(qint64 id)
{
    const auto found = std::find_if(m_messages.begin(), m_messages.end(),
                                    [id](const Message& message) { return message.id == id; });
    return found == m_messages.end() ? nullptr : &*found;
}

bool QueueModel::isHead(const Message& message) const
{
    return message.group.isEmpty() ||
           std::none_of(m_messages.cbegin(), m_messages.cend(), [&](const Message& other) {
               return other.group == message.group && other.id < message.id;
           });
}

} // namespace properties
