#include "till/checkout/storestep.h"

#include "host/utils/basicexception.h"
#include "host/utils/logging.h"

using namespace Qt::StringLiterals;

namespace till {

void StoreStep::run(const std::function<void()>& operation)
{
    m_failure = nullptr;
    m_changes.emplace();
    m_running = true;
    std::exception_ptr thrown;
    try {
        operation();
    } catch (...) {
        thrown = std::current_exception();
    }
    m_running = false;
    try {
        settle();
    } catch (...) {
        // Told below, with what could not be kept earlier.
    }
    if (m_failure)
        std::rethrow_exception(m_failure);
    if (thrown)
        std::rethrow_exception(thrown);
}

void StoreStep::settle()
{
    if (!m_changes)
        return;
    try {
        m_changes->commit();
    } catch (...) {
        m_failure = std::current_exception();
        m_changes.reset();
        throw;
    }
    m_changes.reset();
}

void StoreStep::resume() noexcept
{
    if (!m_running || m_changes)
        return;
    try {
        m_changes.emplace();
    } catch (const BasicException& failure) {
        utils::logger(u"till"_s)->warn(u"Each change is kept by itself: "_s + failure.tr().ru());
    }
}

} // namespace till
