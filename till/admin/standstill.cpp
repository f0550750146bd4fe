#include "till/admin/standstill.h"

#include "host/storage/storageerror.h"
#include "till/cli/usageerror.h"

using namespace Qt::StringLiterals;

namespace till {

namespace {

std::unique_ptr<storage::FileLock> held(const QString& name, const QString& refusal)
{
    try {
        return std::make_unique<storage::FileLock>(name);
    } catch (const BasicException& failure) {
        if (!storage::isFault(failure, storage::StorageFault::Locked))
            throw;
        throw UsageError(u"%1 (%2)"_s.arg(refusal, failure.tr().ru()));
    }
}

} // namespace

Standstill::Standstill(const QString& command)
    : m_till(
          held(u"till.lock"_s, u"till: %1: a till works on this data directory; end it first"_s.arg(command)))
    , m_delivery(
          held(u"queue.lock"_s, u"till: %1: a delivery is under way on this data directory; stop it first: "
                                "systemctl stop kyr-loyalty-deliver"_s.arg(command)))
{}

} // namespace till
