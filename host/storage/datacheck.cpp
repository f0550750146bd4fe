#include "host/storage/datacheck.h"

#include "host/storage/datadirectory.h"
#include "host/storage/documents.h"
#include "host/storage/storageerror.h"

using namespace Qt::StringLiterals;

namespace {

bool isDamagedReceipt(const QString& /*path*/)
{
    try {
        static_cast<void>(SaveToFileLogic::loadOpenReceipt());
        return false;
    } catch (const BasicException& exception) {
        if (utils::isFault(exception, utils::StorageFault::Damaged))
            return true;
        throw;
    }
}

} // namespace

utils::OpenedStore openDataDirectory()
{
    // First, because a receipt of a later version says that the store is not to be touched either.
    const QList<utils::DataFinding> findings =
        utils::setAsideAndTell(utils::dataFile(u"open-receipt"_s), isDamagedReceipt);
    utils::OpenedStore opened = utils::openStore();
    opened.findings = findings + opened.findings;
    return opened;
}
