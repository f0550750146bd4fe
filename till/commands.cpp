#include "till/commands.h"

#include "till/admin/commands.h"
#include "till/conformance/commands.h"
#include "till/scenario/commands.h"
#include "till/window/commands.h"

namespace till {

const Commands& commands()
{
    static const Commands table{
        runCommand(),          shellCommand(),         windowCommand(),       queueListCommand(),
        queueShowCommand(),    queueRetryCommand(),    queueDropCommand(),    queueReaddressCommand(),
        queueDeliverCommand(), receiptsListCommand(),  receiptsShowCommand(), reconcileCommand(),
        forgetCommand(),       backupCommand(),        restoreCommand(),      rescueCommand(),
        deliverCommand(),      shopPrepareCommand(),   metricsCommand(),      doctorCommand(),
        configCheckCommand(),  supportBundleCommand(), conformanceCommand(),
    };
    return table;
}

} // namespace till
