#pragma once

#include <QList>
#include <QStringList>

#include <cstdint>

namespace simulation {

/// Something that goes wrong in the middle of an episode.
struct Trouble
{
    enum Kind {
        RequestLost,   ///< the service never sees it, the till waits in vain
        AnswerLost,    ///< the service acts, the till waits in vain
        ConnectionCut, ///< the service acts, its answer breaks off
        ArrivesLate,   ///< the till waits in vain, the service acts afterwards, when others came in between
        Doubled,       ///< the service sees it twice
        Refused,       ///< nobody listens
        BrokenBefore,  ///< 500, and the service did nothing
        BrokenAfter,   ///< 502, and the service has acted
        Busy,          ///< 503, and when to come again
        Portal,        ///< somebody else answers, with a page
        Empty,         ///< the service acts, its answer is 200 and nothing more
        Slow,          ///< the service acts, and answers when the till's patience is nearly over
        Rejected,      ///< 422 for good, though not of what the service has done already
        Forbidden,     ///< 403 by somebody before the service, which did nothing
        Killed,        ///< the till's process dies, what it wrote is there
        PowerCut,      ///< what it had not synced is there in parts or not at all
        DiskFails,     ///< what it writes comes to nothing, and it is told
        DiskFull,
    };
    static constexpr int kinds = DiskFull + 1;

    Kind kind = RequestLost;
    int at = 0;             ///< which request of the episode, which moment, or which access to the disk
    int length = 1;         ///< so many requests or accesses in a row
    std::uint64_t dice = 0; ///< of what a power cut leaves
};

/// What happens at a till between two moments in which the world may stand still.
struct Episode
{
    enum Kind {
        Sale,
        Return,
        Delivery,
        Restart,
        Outage,         ///< the service is down until somebody has waited
        Password,       ///< the service wants another one, and the administrator learns of it later
        ClockJump,      ///< of the tills' clock, ahead or back
        Evening,        ///< ten hours in which nothing happens
        Backup,         ///< of a till without an open receipt
        Restore,        ///< of the last backup, and the rescue of what came since
        Administration, ///< somebody looks at what is parked, and retries it, drops it or leaves it
        Delivering,     ///< the delivery service goes on for hours, and the clock may be set meanwhile
    };
    static constexpr int kinds = Delivering + 1;

    Kind kind = Sale;
    int till = 0;
    std::uint64_t dice = 0; ///< of whatever is decided in it
    bool isBeside = false;  ///< a delivery works beside the till
    QList<Trouble> troubles;
};

/// What happens in a shop until everything comes to rest. It is all decided beforehand, so that a part can be
/// left out, and the rest stays as it was.
struct Story
{
    std::uint64_t seed = 0;
    int tills = 2;
    bool withCodes = false; ///< spending has to be confirmed
    QList<Episode> episodes;
};

/// The story of that seed, with so many episodes.
Story storyOf(std::uint64_t seed, int episodes);

/// As it is told.
QString nameOf(Trouble::Kind kind);

/// Whether the disk does in it what it should.
bool hasDiskTrouble(const Episode& episode);

/// A line for each episode.
QStringList told(const Story& story);

} // namespace simulation
