// A delivery beside the till.

#include "host/storage/datadirectory.h"
#include "tests/simulation/beside.h"
#include "tests/simulation/shop.h"

using namespace Qt::StringLiterals;

namespace simulation {

void Shop::beginBeside(const Episode& episode)
{
    if (!episode.isBeside)
        return;
    storage::setDataDirectory(directory());
    const bool hasDisk = !hasDiskTrouble(episode);
    const Delivery::Reports reports{
        .note = [this](const QString& line) { note(line); },
        .found = [this](const QString& finding) { find(finding); },
        .failed =
            [this, hasDisk](const QString& why) {
                note(u"the delivery gives up: "_s + why);
                if (hasDisk)
                    find(u"the delivery gave up with a disk that works"_s);
            },
    };
    m_delivery = std::make_unique<Delivery>(Dice(episode.dice + 1), config(), reports);
    beside::begin(episode.dice, [this](const std::stop_token& stop) { m_delivery->run(stop); });
}

void Shop::endBeside()
{
    if (!beside::isOn())
        return;
    storage::setDataDirectory(directory()); // a till that is gone has taken it along
    beside::end();
    m_delivery.reset();
    for (const QString& request : m_network.takeCrossed())
        find(u"two programs send the same at once: "_s + request);
}

} // namespace simulation
