#include "till/admin/sparetime.h"

#include "host/utils/basicexception.h"
#include "host/utils/currenttime.h"
#include "till/setup/keeping.h"

namespace till {

SpareTime::SpareTime(const Config& config)
    : m_retention(keepingTimesOf(config))
{}

void SpareTime::set(const Config& config) { m_retention = storage::Retention(keepingTimesOf(config)); }

bool SpareTime::use()
{
    try {
        const QDateTime now = MockFactory<CurrentTime>::create()->currentDateTime();
        return !m_queue.get().nextDue(now, now) && m_retention.step();
    } catch (const BasicException&) {
        return false; // the worker meets it too, and tells
    }
}

} // namespace till
