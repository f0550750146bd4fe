#pragma once

#include "host/queue/outgoingqueue.h"

#include <memory>

/// The outgoing queue in the store of the data directory. Any number of objects, in any threads and programs,
/// may have it open at once; each belongs to the thread that made it. What an operation changes is durable
/// when it returns, or with the storage::Transaction around it. Counting takes the same time however many
/// messages wait.
///
/// The messages hold credentials and personal data; the file is its owner's alone (0600). Once delivered,
/// only the record that and when is kept.
class HOST_EXPORT MessageQueue : public OutgoingQueue
{
public:
    MessageQueue();
    ~MessageQueue() override;
    MessageQueue(const MessageQueue&) = delete;
    MessageQueue& operator=(const MessageQueue&) = delete;

    /// Puts a message at the end and returns its id. A message with a value that can't be stored (a type that
    /// is not Qt's own, or too deep) throws.
    qint64 enqueue(const QString& queueName, const QString& group, const QVariantMap& message,
                   const QString& text);

    [[nodiscard]] QList<QueuedMessage> messages(int limit, qint64 after = 0) const override;
    [[nodiscard]] std::optional<QueuedMessage> find(qint64 id) const override;
    [[nodiscard]] qint64 lastId() const override;
    [[nodiscard]] int waitingCount() const override;
    [[nodiscard]] int parkedCount() const override;
    [[nodiscard]] QueueHealth health() const override;
    [[nodiscard]] std::optional<QueuedMessage> nextDue(const QDateTime& until, const QDateTime& now,
                                                       const QList<QueuedMessage>& underWay = {}) override;
    [[nodiscard]] std::optional<CredentialsSuspension> suspension() const override;
    bool delivered(qint64 id, const QueueAttempt& attempt) override;
    bool failed(qint64 id, const QueueAttempt& attempt, const QDateTime& due) override;
    bool park(qint64 id, const QueueAttempt& attempt) override;
    bool refused(qint64 id, const QueueAttempt& attempt, const QDateTime& due,
                 const QDateTime& nextProbe) override;
    bool retry(qint64 id) override;
    bool drop(qint64 id) override;
    void expedite() override;
    void together(const std::function<void()>& notes) override;

private:
    struct Statements;
    std::unique_ptr<Statements> m;
};
