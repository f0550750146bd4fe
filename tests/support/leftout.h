#pragma once

#include <gtest/gtest.h>

#include <QtGlobal>

/// Ends the test because this machine does not let it be tried: a disk cannot be mounted in a container, say.
/// It is shown as skipped, with the reason; where the project is judged nothing is left out, and it fails.
#define LEAVE_OUT(reason)                                                                                    \
    do {                                                                                                     \
        if (qEnvironmentVariableIsSet("CI"))                                                                 \
            FAIL() << (reason);                                                                              \
        GTEST_SKIP() << (reason);                                                                            \
    } while (false)
