#include "till/cli/terminal.h"

#include <QByteArray>
#include <QtGlobal>

#include <unistd.h>

namespace till {

bool wantsColours()
{
    return isatty(STDOUT_FILENO) == 1 && qEnvironmentVariableIsEmpty("NO_COLOR") && qgetenv("TERM") != "dumb";
}

} // namespace till
