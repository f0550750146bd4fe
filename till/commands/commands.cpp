#include "till/commands/commands.h"

#include <algorithm>

namespace till {

const QList<Command>& commands()
{
    static const QList<Command> table{
        runCommand(),          shellCommand(),         windowCommand(),    queueListCommand(),
        queueShowCommand(),    queueRetryCommand(),    queueDropCommand(), queueDeliverCommand(),
        receiptsListCommand(), receiptsShowCommand(),  reconcileCommand(), deliverCommand(),
        doctorCommand(),       supportBundleCommand(),
    };
    return table;
}

const Command* findCommand(const QString& name)
{
    const auto& table = commands();
    const auto named = [&name](const Command& command) { return command.name == name; };
    const auto found = std::find_if(table.begin(), table.end(), named);
    return found == table.end() ? nullptr : &*found;
}

QStringList groupMembers(const QString& word)
{
    QStringList members;
    for (const Command& command : commands()) {
        if (command.name.startsWith(word + u' '))
            members.append(command.name.sliced(word.size() + 1));
    }
    return members;
}

} // namespace till
