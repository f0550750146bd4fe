#pragma once

#include "till/cli/options.h"

#include <QString>

namespace till {

/// Which programs, libraries and folders a till is put together from.
struct Parts
{
    QString pluginFile;
    QString standProgram;  ///< started only when the configuration names no service
    QString dataDirectory; ///< empty: a new one, removed when the till is gone
};

/// The folder that is taken when nobody names one and what is kept must last: a service's own
/// ($STATE_DIRECTORY), else kyr-loyalty in $XDG_STATE_HOME or ~/.local/state.
QString usualDataDirectory();

/// The plug-in and the stand that the options name, else those beside this program.
Parts partsOf(const Options& options);

} // namespace till
