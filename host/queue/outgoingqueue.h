#pragma once

#include "host/utils/export.h"

#include <QDateTime>
#include <QList>
#include <QString>
#include <QVariantMap>

#include <functional>
#include <optional>

/// One message of the outgoing queue.
struct QueuedMessage
{
    /// What is to become of it.
    enum class State {
        Waiting, ///< to be sent
        Parked,  ///< refused by the service; stays until somebody retries or drops it
    };

    qint64 id = 0;       ///< grows with every message and is never given twice
    QString queue;       ///< the name it was put under
    QString group;       ///< the receipt whose messages keep their order; empty when it follows nothing
    QDateTime enqueued;  ///< UTC, to the millisecond
    QVariantMap message; ///< as it was put in, types included; empty when damaged
    QString text;        ///< what it is, for the administrator
    int attempts = 0;    ///< how often sending it failed
    QDateTime due;       ///< UTC; the next attempt is made then, when its group and the service let it
    QString lastError; ///< why the last attempt failed, for the administrator; may be the service's own words
    State state = State::Waiting; ///< whether it is to be sent
    bool damaged = false;         ///< the stored message is not what was put in
    QString till = {};            ///< of a shop's queue: the till that put it in

    /// What it is about: the last segment of the service's path, "payment-b2c"; empty when it is damaged.
    [[nodiscard]] HOST_EXPORT QString operation() const;
};

/// What one attempt to send a message came to.
struct QueueAttempt
{
    int code = 0;            ///< RestClient's: 0 for a 2xx, else an HTTP status or an ErrorCode
    QString error;           ///< for the administrator; empty after a success
    qint64 milliseconds = 0; ///< how long it took
    QString account = {};    ///< after a success: what the answer said, for the administrator; may be empty
};

/// That the service refuses the credentials, which holds up everything.
struct CredentialsSuspension
{
    QDateTime since;     ///< UTC
    int probes = 0;      ///< how often it was tried so far, the first refusal included
    QDateTime nextProbe; ///< UTC; until then nothing is sent; invalid: at once
};

/// The queue at a glance. Times are UTC.
struct QueueHealth
{
    int waiting = 0;                ///< how many messages are to be sent
    int parked = 0;                 ///< how many are set aside
    QDateTime oldestWaiting;        ///< when the one that waits longest was put in; invalid: none waits
    QDateTime credentialsSuspended; ///< since when the service refuses the credentials; invalid: it does not
    QDateTime lastDelivered;        ///< invalid: nothing yet
    QString lastError;              ///< why the last attempt failed; empty when it did not
};

/// What a delivery delivers and an administrator looks into: the outgoing queue of a till, or that of a shop.
/// What an operation changes is durable when it returns, and so is the entry in the journal of the message's
/// receipt. Each throws BasicException, and changes nothing, when the queue can't be used.
class HOST_EXPORT OutgoingQueue
{
public:
    virtual ~OutgoingQueue();

    /// The first messages behind that id in order, waiting and parked, at most `limit`.
    [[nodiscard]] virtual QList<QueuedMessage> messages(int limit, qint64 after = 0) const = 0;
    /// The message of that id; nothing when the queue does not hold it (any more).
    [[nodiscard]] virtual std::optional<QueuedMessage> find(qint64 id) const = 0;
    /// The first message behind that id, waiting or parked; nothing at the end.
    [[nodiscard]] std::optional<QueuedMessage> after(qint64 id) const;
    /// The highest id in the queue; 0 when it is empty.
    [[nodiscard]] virtual qint64 lastId() const = 0;

    /// How many messages are to be sent.
    [[nodiscard]] virtual int waitingCount() const = 0;
    /// How many messages are set aside.
    [[nodiscard]] virtual int parkedCount() const = 0;
    /// All of it at a glance.
    [[nodiscard]] virtual QueueHealth health() const = 0;
    /// What to send next of all that nothing of its group holds up: the one that was due first, at `until` at
    /// the latest. One that would be due later than the longest pause after `now` counts as due: the clock
    /// has jumped back since that time was set. What is `underWay`, and the rest of its groups, has to wait.
    [[nodiscard]] virtual std::optional<QueuedMessage> nextDue(const QDateTime& until, const QDateTime& now,
                                                               const QList<QueuedMessage>& underWay = {}) = 0;
    /// Nothing when the service takes the credentials, as far as is known.
    [[nodiscard]] virtual std::optional<CredentialsSuspension> suspension() const = 0;

    // Each is true when the queue still held a message of that id. An answer of the service other than 401
    // ends the refusal of the credentials.

    /// Moves a message out into the history.
    virtual bool delivered(qint64 id, const QueueAttempt& attempt) = 0;
    /// Notes that sending failed; the message is to be tried again when it is due.
    virtual bool failed(qint64 id, const QueueAttempt& attempt, const QDateTime& due) = 0;
    /// Sets a message aside with the error. Later messages of its group wait behind it.
    virtual bool park(qint64 id, const QueueAttempt& attempt) = 0;
    /// Notes that sending failed and that the credentials are refused, or still not known to be taken:
    /// nothing is to be sent before `nextProbe`.
    virtual bool refused(qint64 id, const QueueAttempt& attempt, const QDateTime& due,
                         const QDateTime& nextProbe) = 0;
    /// Lets a parked message wait again, in its old place, and makes it due at once; so too one that waits
    /// out a pause. False as well when it is due at once already.
    virtual bool retry(qint64 id) = 0;
    /// Gives a message up; its group goes on. The history keeps all of it but the credentials, so that what
    /// was dropped by mistake is not lost.
    virtual bool drop(qint64 id) = 0;

    /// Ends every pause: all that waits is due at once, also when the credentials were refused.
    virtual void expedite() = 0;

    /// Notes what came of several messages: as one commit where that spares time.
    virtual void together(const std::function<void()>& notes) = 0;
};
