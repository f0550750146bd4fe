#pragma once

namespace till {

/// Whether the standard output is a terminal that wants colours: NO_COLOR takes them away, and so does
/// TERM=dumb.
bool wantsColours();

} // namespace till
