#pragma once

#include "host/queue/messagequeue.h"

#include <QUrl>

#include <chrono>
#include <functional>

namespace network {

/// What sending a message came to.
struct SendingOutcome
{
    QueueAttempt attempt;  ///< its error is empty when the message was delivered
    bool hopeless = false; ///< it would fail in the same way each time

    [[nodiscard]] bool delivered() const { return attempt.error.isEmpty(); }
    /// The service refuses user or password, which no message can help.
    [[nodiscard]] bool unauthorized() const;
    /// It was the service that answered, not the network that failed.
    [[nodiscard]] bool answered() const;
};

/// The longest that sending the message may take.
[[nodiscard]] std::chrono::seconds timeoutOf(const QueuedMessage& queued);

/// Sends the message and waits for the answer. What `authorization` says takes the place of the stored header
/// of that name.
[[nodiscard]] SendingOutcome sendQueued(const QueuedMessage& queued,
                                        const std::function<QString(const QUrl&)>& authorization);

} // namespace network
