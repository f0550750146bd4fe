#pragma once

#include "host/queue/outgoingqueue.h"
#include "host/storage/filelock.h"

#include <QSharedPointer>
#include <QUrl>

#include <functional>
#include <memory>
#include <optional>
#include <stop_token>

class ParallelClient;
namespace network {
class DeliveryPace;
struct SendingOutcome;
} // namespace network

/// Sends what the outgoing queue holds, each message as its "method" on its "url" with its "headers", "body"
/// and "timeout".
///
/// Messages of one group go strictly in order: behind one that could not be sent, or that is parked, the
/// later ones of its group wait, because the service would take a refusal before the sale that it refuses for
/// an error. Groups, and messages without one, are independent of one another: up to four go side by side,
/// over connections that are kept, as long as all goes well; one at a time after anything that has to be
/// tried again.
///
/// Each message is delivered at least once: it leaves the queue only after what RestClient takes for
/// success, so that one whose answer was lost on the way, or cut off by a power cut, is sent again. The
/// service tells repeats by their receipt number.
///
/// Whatever may have been the network's or the service's passing trouble is tried again after a growing
/// pause, for ever: no whole answer, a redirect, 5xx, 408, 425, 429. What would fail in the same way each
/// time is parked: another 4xx, with the service's words, and a message that cannot be sent at all. A 401 is
/// no message's fault and holds up all of them: one is sent after each growing pause, until the service gives
/// another answer. A "Retry-After" holds up all of them too, as long as it says, but no longer than any pause
/// lasts; who ends the pause of the message that it was said of ends it.
class HOST_EXPORT QueueDelivery
{
public:
    /// What a delivery is told; every member may be left empty.
    struct Options
    {
        /// Says the present "Authorization" header for that URL, which then takes the place of the stored
        /// one: a message may outlive the password it was put in with. Empty: send the stored one. To be
        /// given only for the service's own URLs. Called in the delivery's thread.
        std::function<QString(const QUrl&)> authorization;
        /// Moves the pauses, from 0 to 1; by default the system's.
        std::function<double()> random;
        /// Told of each message just before it is sent.
        std::function<void(const QueuedMessage&)> attempting = {};
        /// Says what the answer to a delivered message means, for the journal of its receipt; may be empty.
        std::function<QString(const QueuedMessage&, const QVariant& answer)> account = {};
        /// Told of each attempt after it was noted in the queue.
        std::function<void(const QueuedMessage&, const QueueAttempt&)> attempted;
    };

    /// What came of a run.
    struct Summary
    {
        int delivered = 0;  ///< by this run
        int waiting = 0;    ///< in the queue afterwards
        int parked = 0;     ///< in the queue afterwards
        QString firstError; ///< of this run, in English for the administrator, or in the service's words
    };

    /// Two deliveries at once would send everything twice, and mix up the order: whoever delivers holds this,
    /// a file of the data directory. Nothing when another delivery has it; throws BasicException when the
    /// file cannot be used.
    [[nodiscard]] static std::unique_ptr<storage::FileLock> lock();

    /// The queue must outlive the delivery and belong to the same thread.
    explicit QueueDelivery(OutgoingQueue& queue);
    /// The same, with these options.
    QueueDelivery(OutgoingQueue& queue, Options options);
    ~QueueDelivery();
    QueueDelivery(const QueueDelivery&) = delete;
    QueueDelivery& operator=(const QueueDelivery&) = delete;

    /// Ends every pause and goes once over what is in the queue, waiting for each answer. After a stop no
    /// other message is begun. Throws BasicException when the queue's file can't be used or another delivery
    /// is under way.
    Summary run(const std::stop_token& stop = {});

    /// Sends what is due when it begins, and what comes in meanwhile; the pauses of the rest go on. For who
    /// holds the lock.
    Summary deliverDue(const storage::FileLock& held, const std::stop_token& stop = {});
    /// The same for a queue that sees to it by itself that each message is one delivery's alone.
    Summary deliverDue(const std::stop_token& stop = {});

private:
    class Pass;
    /// That the service asked to be left alone.
    struct Hold
    {
        qint64 message;  ///< that it said so of
        QDateTime due;   ///< of that message, unless somebody ended its pause
        QDateTime until; ///< nothing is sent before
    };

    [[nodiscard]] bool isHeldUp(const QDateTime& now);
    /// False when the queue does not hold the message any more.
    bool note(const QueuedMessage& message, const network::SendingOutcome& outcome, const QDateTime& now);
    /// When to try it again; notes what the service asks for.
    [[nodiscard]] QDateTime dueAfter(const QueuedMessage& message, const network::SendingOutcome& outcome,
                                     const QDateTime& now);
    [[nodiscard]] QDateTime after(const QDateTime& now, int attempts) const;

    OutgoingQueue& m_queue;
    Options m_options;
    QSharedPointer<ParallelClient> m_client;
    std::unique_ptr<network::DeliveryPace> m_pace;
    std::optional<Hold> m_hold;
};
