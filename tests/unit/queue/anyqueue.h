#pragma once

#include "host/queue/outgoingqueue.h"
#include "tests/support/stillclock.h"
#include "tests/unit/storage/scene.h"

#include <memory>
#include <ostream>

namespace test_support {

/// Where an outgoing queue is kept: a till's store, or a shop's database.
class QueueHome
{
public:
    virtual ~QueueHome() = default;

    /// As each program does that delivers the queue or looks into it.
    [[nodiscard]] virtual std::unique_ptr<OutgoingQueue> open() const = 0;
    /// What a till has put in since comes into the queue.
    virtual void take() = 0;
    /// What the statement finds in the tables of the queue, a line a row, with | between columns.
    virtual QString sql(const QString& statement) const = 0;
    /// Those bytes as the statement has to write them.
    [[nodiscard]] virtual QString literal(const QByteArray& bytes) const = 0;

    /// Until comeBack() the queue can't be used.
    virtual void goAway() = 0;
    virtual void comeBack() = 0;
};

/// One kind of such a home, for the tests that all of them have to pass.
struct QueuePlace
{
    const char* name;
    std::unique_ptr<QueueHome> (*make)(); ///< once there is a data directory
};

inline void PrintTo(const QueuePlace& place, std::ostream* out) { *out << place.name; }

/// An outgoing queue, wherever it is kept, in which a till has put something. The clock stands still.
class AnyQueue : public Storage, public testing::WithParamInterface<QueuePlace>
{
protected:
    /// Puts in a message, another one each time, and returns its id.
    qint64 add(const QString& group = {});
    qint64 add(const QString& group, QVariantMap message);

    [[nodiscard]] std::optional<QueuedMessage> due(const QList<QueuedMessage>& underWay = {}) const
    {
        return queue->nextDue(clock.now(), clock.now(), underWay);
    }
    /// The id of what is due; 0 when nothing is.
    [[nodiscard]] qint64 next(const QList<QueuedMessage>& underWay = {}) const
    {
        const auto found = due(underWay);
        return found ? found->id : 0;
    }
    void fail(qint64 id, std::chrono::milliseconds pause = std::chrono::seconds(10)) const
    {
        queue->failed(id, {503, QStringLiteral("busy"), 12}, clock.now() + pause);
    }
    /// The service refuses the credentials; they are tried again after that time.
    void refuse(qint64 id, std::chrono::milliseconds pause) const
    {
        queue->refused(id, {401, QStringLiteral("who?"), 3}, clock.now(), clock.now() + pause);
    }
    [[nodiscard]] QList<qint64> ids() const;
    /// What the queue has told of a receipt, an entry a line: event, operation, code, detail, milliseconds.
    [[nodiscard]] QString told(const QString& receipt) const;
    /// What is known of a message that has left: outcome, answer, attempts, error, receipt, text.
    [[nodiscard]] QString gone(qint64 id) const;

    StillClock clock;
    const std::unique_ptr<QueueHome> home = GetParam().make();
    std::unique_ptr<OutgoingQueue> queue = home->open();

private:
    int m_number = 0;
};

} // namespace test_support
