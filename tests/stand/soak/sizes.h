#pragma once

namespace standtest {

/// How much is done; each may be set on the command line, as in --races=10000.
struct Sizes
{
    int races = 60;
    int operations = 300;
    int days = 30;
    int restarts = 6;
};

Sizes& sizes();

} // namespace standtest
