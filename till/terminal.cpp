#include "till/terminal.h"

#include <unistd.h>

namespace till {

bool wantsColours() { return isatty(STDOUT_FILENO) == 1 && qEnvironmentVariableIsEmpty("NO_COLOR"); }

QString printable(QString text)
{
    for (QChar& character : text) {
        if (character.category() == QChar::Other_Control)
            character = QChar::ReplacementCharacter;
    }
    return text;
}

} // namespace till
