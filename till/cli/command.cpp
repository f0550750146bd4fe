#include "till/cli/command.h"

#include <algorithm>

namespace till {

const Command* findCommand(const Commands& commands, const QString& name)
{
    const auto named = [&name](const Command& command) { return command.name == name; };
    const auto found = std::find_if(commands.begin(), commands.end(), named);
    return found == commands.end() ? nullptr : &*found;
}

QStringList groupMembers(const Commands& commands, const QString& word)
{
    QStringList members;
    for (const Command& command : commands) {
        if (command.name.startsWith(word + u' '))
            members.append(command.name.sliced(word.size() + 1));
    }
    return members;
}

} // namespace till
