#pragma once

#include "tests/faultmatrix/expectations.h"

#include <iosfwd>

namespace faulttest {

/// Where an operation of the service is asked for, and how cashier or administrator get on when that fails.
struct Place
{
    const char* name;
    QString operation; ///< by the stand's name
    QString path;      ///< by which the exchange is known
    Strike::Verb verb = Strike::Verb::Post;
    bool isQueued = false; ///< a message is struck that had waited for the service
    bool asksForCode = false;
    void (*prepare)(Scene& scene) = nullptr;
    Tried (*act)(Scene& scene) = nullptr;
    int request = 1; ///< the how many-th of the act is struck
    Seen (*expected)(const Strike& strike) = nullptr;
    void (*goOn)(Scene& scene) = nullptr;
    End (*end)(const Strike& strike) = nullptr;
};

const QList<Place>& places();

void PrintTo(const Place& place, std::ostream* out);

} // namespace faulttest
