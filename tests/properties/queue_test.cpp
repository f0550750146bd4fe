// Whatever is done to the queue, it holds what a plain list would hold, and sends next what that would send.
#include "host/queue/messagequeue.h"
#include "host/storage/datadirectory.h"
#include "tests/properties/queuemodel.h"
#include "tests/support/stillclock.h"

#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <rapidcheck/gtest.h>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;
using properties::QueueModel;
using properties::Step;

namespace rc {

template <>
struct Arbitrary<Step>
{
    static Gen<Step> arbitrary()
    {
        // Half of all that happens is that a message comes or goes.
        const auto kinds = gen::weightedElement<Step::Kind>({{4, Step::Enqueue},
                                                             {4, Step::Begin},
                                                             {3, Step::Deliver},
                                                             {2, Step::Fail},
                                                             {2, Step::Park},
                                                             {2, Step::Retry},
                                                             {1, Step::Drop},
                                                             {1, Step::Expedite},
                                                             {2, Step::Wait},
                                                             {1, Step::Reopen}});
        return gen::build<Step>(gen::set(&Step::kind, kinds), gen::set(&Step::which, gen::inRange(0, 8)));
    }
};

} // namespace rc

namespace {

/// The real queue beside the model; both do the same.
class Pair
{
public:
    Pair() { open(); }
    ~Pair()
    {
        m_queue.reset();
        storage::setDataDirectory({});
    }
    Q_DISABLE_COPY_MOVE(Pair)

    void play(const Step& step)
    {
        const qint64 now = m_clock.now().toMSecsSinceEpoch();
        switch (step.kind) {
        case Step::Enqueue: {
            const QString receipt = step.which % 4 == 0 ? QString() : u"R-%1"_s.arg(step.which % 4);
            m_model.enqueue(m_queue->enqueue(u"queue"_s, receipt, {{u"which"_s, step.which}}, u"text"_s),
                            receipt);
            break;
        }
        case Step::Begin:
            if (const auto next = m_queue->nextDue(m_clock.now(), m_clock.now(), messagesUnderWay())) {
                RC_ASSERT(next->id == m_model.next(now, m_underWay));
                m_underWay.push_back(next->id);
            }
            break;
        case Step::Deliver:
            if (const qint64 id = end(step.which))
                RC_ASSERT(m_queue->delivered(id, {}) == m_model.remove(id));
            break;
        case Step::Fail:
            if (const qint64 id = end(step.which)) {
                const QDateTime due = m_clock.now().addSecs(30 * (1 + step.which));
                RC_ASSERT(m_queue->failed(id, {.code = 503, .error = u"busy"_s}, due) ==
                          m_model.fail(id, due.toMSecsSinceEpoch()));
            }
            break;
        case Step::Park:
            if (const qint64 id = end(step.which))
                RC_ASSERT(m_queue->park(id, {.code = 422, .error = u"no"_s}) == m_model.park(id));
            break;
        case Step::Retry:
            RC_ASSERT(m_queue->retry(some(step.which)) == m_model.retry(some(step.which)));
            break;
        case Step::Drop: {
            const qint64 id = some(step.which);
            RC_ASSERT(m_queue->drop(id) == m_model.remove(id));
            break;
        }
        case Step::Expedite:
            m_queue->expedite();
            m_model.expedite();
            break;
        case Step::Wait:
            m_clock.move(1min * step.which);
            break;
        case Step::Reopen:
            m_underWay.clear(); // the program that had them died
            m_queue.reset();
            storage::setDataDirectory({});
            open();
            break;
        }
        compare();
    }

private:
    void open()
    {
        storage::setDataDirectory(m_directory.path());
        m_queue = std::make_unique<MessageQueue>();
    }

    /// One that was under way, and is no more; 0: there is none.
    qint64 end(int which)
    {
        if (m_underWay.empty())
            return 0;
        const auto at = m_underWay.begin() + which % static_cast<int>(m_underWay.size());
        const qint64 id = *at;
        m_underWay.erase(at);
        return id;
    }

    /// An id that the queue has, or had not so long ago, or never.
    [[nodiscard]] qint64 some(int which) const { return std::max<qint64>(1, m_queue->lastId() - which); }

    [[nodiscard]] QList<QueuedMessage> messagesUnderWay() const
    {
        QList<QueuedMessage> messages;
        for (const qint64 id : m_underWay) {
            if (const auto message = m_queue->find(id))
                messages.append(*message);
        }
        return messages;
    }

    void compare()
    {
        const auto& expected = m_model.messages();
        const QList<QueuedMessage> found = m_queue->messages(1000);
        RC_ASSERT(found.size() == static_cast<qsizetype>(expected.size()));
        int parked = 0;
        for (qsizetype i = 0; i < found.size(); ++i) {
            const auto& message = expected[static_cast<std::size_t>(i)];
            RC_ASSERT(found[i].id == message.id);
            RC_ASSERT(found[i].group == message.group);
            RC_ASSERT(found[i].attempts == message.attempts);
            RC_ASSERT((found[i].state == QueuedMessage::State::Parked) == message.isParked);
            parked += message.isParked ? 1 : 0;
        }
        RC_ASSERT(m_queue->parkedCount() == parked);
        RC_ASSERT(m_queue->waitingCount() == static_cast<int>(expected.size()) - parked);
        const auto next = m_queue->nextDue(m_clock.now(), m_clock.now(), messagesUnderWay());
        RC_ASSERT((next ? next->id : 0) == m_model.next(m_clock.now().toMSecsSinceEpoch(), m_underWay));
    }

    const QTemporaryDir m_directory;
    test_support::StillClock m_clock;
    std::unique_ptr<MessageQueue> m_queue;
    QueueModel m_model;
    std::vector<qint64> m_underWay;
};

} // namespace

RC_GTEST_PROP(AnyQueueProperty, KeepsAndSendsNextWhatAListWould, (const std::vector<Step>& steps))
{
    Pair pair;
    for (const Step& step : steps)
        pair.play(step);
}
