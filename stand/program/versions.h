#pragma once

#include <QString>

namespace stand {

/// The stand and the libraries that it runs with, a line for each: "Qt 6.4.2, built with 6.4.2". Needs an
/// application object. Throws DatabaseError.
[[nodiscard]] QString versionText();

} // namespace stand
