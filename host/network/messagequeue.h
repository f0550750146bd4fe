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
    QString lastError;   ///< why the last one did, for the administrator; may be the service's own words
    State state = State::Waiting;
    bool damaged = false; ///< the stored message is not what was put in
};

/// The outgoing queue in the store of the data directory. Any number of objects, in any
/// threads and programs, may have it open at once; each belongs to the thread that made it. What an operation
/// changes is durable when it returns, or with the utils::Transaction around it. Each throws BasicException,
/// and changes nothing, when the file can't be used.
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
    /// is not Qt's own) throws.
    qint64 enqueue(const QString& queueName, const QString& group, const QVariantMap& message,
                   const QString& text);

    /// The first messages in order, waiting and parked, at most `limit`.
    [[nodiscard]] QList<QueuedMessage> messages(int limit) const;
    /// The first message behind that id, waiting or parked; nothing at the end.
    [[nodiscard]] std::optional<QueuedMessage> after(qint64 id) const;
    /// The highest id in the queue; 0 when it is empty.
    [[nodiscard]] qint64 lastId() const;

    /// How many wait, and how many are parked; in constant time.
    [[nodiscard]] int waitingCount() const;
    [[nodiscard]] int parkedCount() const;

    // Each is true when the queue still held a message of that id.

    /// Moves a message out into the history. `answer` is RestClient's code of the answer: 0 for a 2xx.
    bool delivered(qint64 id, int answer);
    /// Notes that sending failed; the message waits on.
    bool failed(qint64 id, const QString& error);
    /// Sets a message aside with the words of who refused it. Later messages of its group wait behind it.
    bool park(qint64 id, const QString& words);
    /// Lets a parked message wait again, in its old place.
    bool retry(qint64 id);
    /// Gives a message up. The history keeps all of it, so that what was dropped by mistake is not lost.
    bool drop(qint64 id);

private:
    struct Statements;
    std::unique_ptr<Statements> m;
};
