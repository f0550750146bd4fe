#pragma once

#include "host/queue/outgoingqueue.h"
#include "host/shop/connection.h"

#include <memory>
#include <vector>

namespace shop {

/// The outgoing queue of a shop, in its database. Any number of deliveries on any machines may have it: what
/// nextDue() gives is theirs alone, with its receipt, until it is settled, left out of `underWay`, or they
/// die or lose their connection; then another one takes it at once. Belongs to the thread that made it;
/// everything throws DatabaseError when the database can't be used. While the service refuses the
/// credentials, it gives a message to one of them, when it is time to try again.
class ShopQueue : public OutgoingQueue
{
public:
    explicit ShopQueue(const QString& address);
    ~ShopQueue() override;
    ShopQueue(const ShopQueue&) = delete;
    ShopQueue& operator=(const ShopQueue&) = delete;

    /// Only what this till has put in; empty: all. The last error is then that of its message, of those that
    /// failed and are still there, which is tried last.
    void setTill(const QString& till) { m_till = till; }
    /// What waits or is parked of a receipt, in order, whichever till has put it in.
    [[nodiscard]] QList<QueuedMessage> messagesOf(const QString& receipt) const;

    /// Waits until somebody has put something in, the time is over or a stop is asked for.
    void wait(std::chrono::milliseconds longest, const std::stop_token& stop);

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
    /// Throws DatabaseError of Fault::Conflict, as drop() does, while a delivery has it.
    bool retry(qint64 id) override;
    bool drop(qint64 id) override;
    void expedite() override;
    /// Each is a commit of its own: each has a connection of its own.
    void together(const std::function<void()>& notes) override { notes(); }

private:
    /// A message that is this delivery's, as long as its transaction lasts.
    struct Claim
    {
        explicit Claim(const QString& address);
        Connection database;
        std::optional<QueuedMessage> message;
    };

    [[nodiscard]] Claim& freeClaim();
    void release(const QList<QueuedMessage>& underWay);
    [[nodiscard]] bool mayProbe(const QDateTime& now) const;
    /// The step on the message and its entry in the journal as one commit, of its claim where there is one.
    bool settle(qint64 id, const QString& event, const QueueAttempt& attempt,
                const std::function<bool(Connection&)>& step);
    /// `row` is the message's, as it was before.
    void tell(Connection& database, const QString& event, const QVariantList& row,
              const QueueAttempt& attempt) const;
    [[nodiscard]] qint64 number(const QString& sql) const;

    QString m_address;
    QString m_till;
    mutable Connection m_database; ///< for everything that is no claim
    std::vector<std::unique_ptr<Claim>> m_claims;
};

} // namespace shop
