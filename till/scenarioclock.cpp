#include "till/scenarioclock.h"

#include "host/utils/currenttime.h"

namespace till {

namespace {

class StandingTime : public CurrentTime
{
public:
    explicit StandingTime(const QDateTime& now)
        : m_now(now)
    {}
    [[nodiscard]] QDateTime currentDateTime() const override { return m_now; }

private:
    QDateTime m_now;
};

} // namespace

ScenarioClock::ScenarioClock()
    : m_now(QDateTime::currentDateTime())
{
    MockFactory<CurrentTime>::mocked = [this] { return QSharedPointer<StandingTime>::create(m_now); };
}

ScenarioClock::~ScenarioClock() { MockFactory<CurrentTime>::mocked = {}; }

} // namespace till
