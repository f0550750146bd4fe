#pragma once

#include <QtGlobal>

namespace test_support {

/// Has the programs that a test starts find no configuration of this machine's or its user's.
inline void hideSettings()
{
    for (const char* place : {"CONFIGURATION_DIRECTORY", "XDG_CONFIG_HOME"})
        qputenv(place, "/nonexistent");
}

} // namespace test_support
