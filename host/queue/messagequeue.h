#pragma once

#include "host/utils/export.h"

#include <QDateTime>
#include <QList>
#include <QString>
#include <QVariantMap>

#include <memory>
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

/// The outgoing queue in the store of the data directory. Any number of objects, in any threads and programs,
/// may have it open at once; each belongs to the thread that made it. What an operation changes is durable
/// when it returns, or with the storage::Transaction around it; so is the entry in the journal of the
/// message's receipt. Each throws BasicException, and changes nothing, when the file can't be used.
///
/// The messages hold credentials and personal data; the file is its owner's alone (0600). Once delivered,
/// only the record that and when is kept.
class HOST_EXPORT MessageQueue
{
public:
    MessageQueue();
    ~MessageQueue();
    MessageQueue(const MessageQueue&) = delete;
    MessageQueue& operator=(const MessageQueue&) = delete;

    /// Puts a message at the end and returns its id. A message with a value that can't be stored (a type that
    /// is not Qt's own, or too deep) throws.
    qint64 enqueue(const QString& queueName, const QString& group, const QVariantMap& message,
                   const QString& text);

    /// The first messages behind that id in order, waiting and parked, at most `limit`.
    [[nodiscard]] QList<QueuedMessage> messages(int limit, qint64 after = 0) const;
    /// The message of that id; nothing when the queue does not hold it (any more).
    [[nodiscard]] std::optional<QueuedMessage> find(qint64 id) const;
    /// The first message behind that id, waiting or parked; nothing at the end.
    [[nodiscard]] std::optional<QueuedMessage> after(qint64 id) const;
    /// The highest id in the queue; 0 when it is empty.
    [[nodiscard]] qint64 lastId() const;

    // Each takes the same time however many messages wait.

    /// How many messages are to be sent.
    [[nodiscard]] int waitingCount() const;
    /// How many messages are set aside.
    [[nodiscard]] int parkedCount() const;
    /// All of it at a glance.
    [[nodiscard]] QueueHealth health() const;
    /// What to send next of all that nothing of its group holds up: the one that was due first, at `until` at
    /// the latest. One that would be due later than the longest pause after `now` counts as due: the clock
    /// has jumped back since that time was set. What is `underWay`, and the rest of its groups, has to wait.
    [[nodiscard]] std::optional<QueuedMessage> nextDue(const QDateTime& until, const QDateTime& now,
                                                       const QList<QueuedMessage>& underWay = {}) const;
    /// Nothing when the service takes the credentials, as far as is known.
    [[nodiscard]] std::optional<CredentialsSuspension> suspension() const;

    // Each is true when the queue still held a message of that id. An answer of the service other than 401
    // ends the refusal of the credentials.

    /// Moves a message out into the history.
    bool delivered(qint64 id, const QueueAttempt& attempt);
    /// Notes that sending failed; the message is to be tried again when it is due.
    bool failed(qint64 id, const QueueAttempt& attempt, const QDateTime& due);
    /// Sets a message aside with the error. Later messages of its group wait behind it.
    bool park(qint64 id, const QueueAttempt& attempt);
    /// Notes that sending failed and that the credentials are refused, or still not known to be taken:
    /// nothing is to be sent before `nextProbe`.
    bool refused(qint64 id, const QueueAttempt& attempt, const QDateTime& due, const QDateTime& nextProbe);
    /// Lets a parked message wait again, in its old place, and makes it due at once; so too one that waits
    /// out a pause. False as well when it is due at once already.
    bool retry(qint64 id);
    /// Gives a message up; its group goes on. The history keeps all of it but the credentials, so that what
    /// was dropped by mistake is not lost.
    bool drop(qint64 id);

    /// Ends every pause: all that waits is due at once, also when the credentials were refused.
    void expedite();

private:
    struct Statements;
    std::unique_ptr<Statements> m;
};
