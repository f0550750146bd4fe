#pragma once

#include "tests/faultmatrix/scene.h"
#include "tests/faultmatrix/strikes.h"

#include <iosfwd>

namespace faulttest {

/// Where an operation of the service is asked for, what is to be seen when that fails, and how cashier or
/// administrator get on.
struct Place
{
    const char* name;
    QString operation; ///< by the stand's name
    QString path;      ///< by which the exchange is known
    Strike::Verb verb = Strike::Verb::Post;
    bool isQueued = false; ///< the message is struck that had waited for the service
    bool asksForCode = false;
    void (*prepare)(Scene& scene) = nullptr;
    Tried (*act)(Scene& scene) = nullptr;
    Seen (*expected)(const Strike& strike) = nullptr;
    void (*goOn)(Scene& scene) = nullptr;
    QString books = {};  ///< in the end
    QString untold = {}; ///< how till and books differ after a hollow answer
    QString undone = {}; ///< the same where the operation never took effect; empty: no other
};

const QList<Place>& places();

void PrintTo(const Place& place, std::ostream* out);

} // namespace faulttest
