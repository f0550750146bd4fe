#include "tests/support/fakehost.h"

#include <gtest/gtest.h>

namespace test_support {

void RecordingQueue::enqueue(const QString& queueName, const QVariantMap& message, const QString& text)
{
    if (before)
        before();
    entries.append({queueName, message, text});
}

QSharedPointer<AbstractDocument> FakeDocuments::loadDocument(const QVariant& reference, bool forUpdate)
{
    EXPECT_FALSE(forUpdate) << "the client only reads";
    return documents.value(reference.toString());
}

void FakeDocuments::saveCardRecord(const QSharedPointer<DocumentCardRecord>& record)
{
    if (beforeSave)
        beforeSave();
    saved.append(record);
}

class FixedClock::Reader : public CurrentTime
{
public:
    explicit Reader(FixedClock& clock)
        : m_clock(clock)
    {}
    [[nodiscard]] QDateTime currentDateTime() const override
    {
        QDateTime now = m_clock.time;
        m_clock.time = now.addSecs(m_clock.tick);
        return now;
    }

private:
    FixedClock& m_clock;
};

FixedClock::FixedClock(qint64 secondsSinceEpoch)
    : time(QDateTime::fromSecsSinceEpoch(secondsSinceEpoch))
{
    MockFactory<CurrentTime>::mocked = [this] { return QSharedPointer<CurrentTime>(new Reader(*this)); };
}

FixedClock::~FixedClock() { MockFactory<CurrentTime>::mocked = nullptr; }

} // namespace test_support
