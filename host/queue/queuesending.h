#pragma once

#include "host/network/parallelclient.h"
#include "host/queue/messagequeue.h"

#include <QUrl>

#include <chrono>
#include <functional>
#include <variant>

namespace network {

/// What sending a message came to.
struct SendingOutcome
{
    QueueAttempt attempt;               ///< its error is empty when the message was delivered
    bool hopeless = false;              ///< it would fail in the same way each time
    std::chrono::seconds retryAfter{0}; ///< how long the service asks to be left alone; 0: it does not

    [[nodiscard]] bool delivered() const { return attempt.error.isEmpty(); }
    /// The service refuses user or password, which no message can help.
    [[nodiscard]] bool unauthorized() const;
    /// It was the service that answered, not the network that failed.
    [[nodiscard]] bool answered() const;
};

/// The longest that sending the message may take.
[[nodiscard]] std::chrono::seconds timeoutOf(const QueuedMessage& queued);

/// What is to be sent of the message, or what came of it when it cannot be sent at all. What `authorization`
/// says takes the place of the stored header of that name.
[[nodiscard]] std::variant<Request, SendingOutcome>
requestOf(const QueuedMessage& queued, const std::function<QString(const QUrl&)>& authorization);

/// What the end of its exchange means to the message.
[[nodiscard]] SendingOutcome outcomeOf(const ParallelClient::Finished& finished);

} // namespace network
