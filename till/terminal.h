#pragma once

#include <QString>

namespace till {

/// Whether the standard output is a terminal that wants colours: NO_COLOR takes them away.
bool wantsColours();

/// Without control characters: a terminal would obey those in a text that came from the service.
QString printable(QString text);

} // namespace till
