// Qt's random numbers, which are others each time: how long a message that failed has to wait is one of them.
// The host's library finds this function in the program before it finds Qt's own.

#include "tests/simulation/chance.h"

#include "tests/simulation/dice.h"

#include <QRandomGenerator>

#include <algorithm>

namespace {

simulation::Dice dice(0);

} // namespace

void simulation::beginChance(std::uint64_t seed) { dice = Dice(seed); }

quint64 QRandomGenerator::_fillRange(void* buffer, qptrdiff count)
{
    if (!buffer)
        return dice.next();
    std::generate_n(static_cast<quint32*>(buffer), count, [] { return static_cast<quint32>(dice.next()); });
    return 0;
}
