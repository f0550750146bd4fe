#include "tests/simulation/story.h"

#include "tests/simulation/dice.h"

#include <algorithm>
#include <array>
#include <utility>

using namespace Qt::StringLiterals;

namespace simulation {

namespace {

constexpr std::array<QStringView, Trouble::kinds> troubleNames{u"the request is lost",
                                                               u"the answer is lost",
                                                               u"the connection is cut",
                                                               u"the request arrives late",
                                                               u"the request comes twice",
                                                               u"nobody listens",
                                                               u"500 before",
                                                               u"502 after",
                                                               u"503",
                                                               u"a portal answers",
                                                               u"an empty 200",
                                                               u"a slow answer",
                                                               u"422",
                                                               u"403",
                                                               u"a program is killed",
                                                               u"the power fails",
                                                               u"the disk fails",
                                                               u"the disk is full"};
static_assert(!troubleNames.back().isEmpty());

constexpr std::array<QStringView, Episode::kinds> episodeNames{u"sale",
                                                               u"return",
                                                               u"delivery",
                                                               u"restart",
                                                               u"outage",
                                                               u"another password",
                                                               u"the clock jumps",
                                                               u"evening",
                                                               u"backup",
                                                               u"restore and rescue",
                                                               u"the administrator looks at what is parked",
                                                               u"the delivery service goes on"};
static_assert(!episodeNames.back().isEmpty());

Trouble trouble(Dice& dice, Episode::Kind episode)
{
    Trouble trouble;
    const bool isRestore = episode == Episode::Restore; // which has the longest way to go, and no request
    const int first = isRestore ? Trouble::Killed : 0;
    trouble.kind = static_cast<Trouble::Kind>(dice.between(first, Trouble::kinds - 1));
    // Moments and accesses to the disk are many, requests are few.
    const bool isOfNetwork = trouble.kind < Trouble::Killed;
    trouble.at = dice.below(isOfNetwork ? 5 : isRestore ? 150 : 60);
    trouble.length = dice.oneIn(3) ? dice.between(2, 6) : 1;
    trouble.dice = dice.next();
    return trouble;
}

/// Of a hundred episodes, so many.
constexpr std::array<std::pair<Episode::Kind, int>, Episode::kinds> shares{{{Episode::Sale, 46},
                                                                            {Episode::Return, 20},
                                                                            {Episode::Delivery, 8},
                                                                            {Episode::Restart, 4},
                                                                            {Episode::Outage, 4},
                                                                            {Episode::Password, 2},
                                                                            {Episode::ClockJump, 3},
                                                                            {Episode::Evening, 1},
                                                                            {Episode::Backup, 2},
                                                                            {Episode::Restore, 2},
                                                                            {Episode::Administration, 6},
                                                                            {Episode::Delivering, 2}}};

Episode::Kind kindOf(int chance)
{
    for (const auto& [kind, share] : shares) {
        if (chance < share)
            return kind;
        chance -= share;
    }
    return Episode::Sale;
}

} // namespace

Story storyOf(std::uint64_t seed, int episodes)
{
    Dice dice(seed);
    Story story{.seed = seed, .tills = dice.between(1, 3), .withCodes = dice.oneIn(4), .episodes = {}};
    const bool isCalm = dice.oneIn(8);   // most goes well in most shops
    const bool isStrict = dice.oneIn(3); // a service that refuses much of what the queue sends
    int till = 0;
    for (int i = 0; i < episodes; ++i) {
        Dice own(seed ^ (static_cast<std::uint64_t>(i + 1) << 32));
        if (own.oneIn(12)) // to go to another till takes a start of it
            till = own.below(story.tills);
        Episode episode{.kind = kindOf(own.below(100)), .till = till, .dice = own.next(), .troubles = {}};
        // A restore has the store for itself, and the hours of a delivery are its own.
        episode.isBeside =
            episode.kind != Episode::Restore && episode.kind != Episode::Delivering && own.oneIn(3);
        if (!isCalm && (episode.kind == Episode::Restore || own.oneIn(3))) {
            for (int left = own.between(1, 3); left > 0; --left)
                episode.troubles.append(trouble(own, episode.kind));
        }
        const bool sends = episode.kind == Episode::Delivery || episode.kind == Episode::Delivering;
        if (isStrict && !isCalm && sends)
            episode.troubles.append({.kind = own.oneIn(2) ? Trouble::Rejected : Trouble::Forbidden,
                                     .at = own.below(4),
                                     .length = own.between(1, 4),
                                     .dice = 0});
        story.episodes.append(episode);
    }
    return story;
}

QString nameOf(Trouble::Kind kind) { return troubleNames.at(kind).toString(); }

bool hasDiskTrouble(const Episode& episode)
{
    return std::any_of(episode.troubles.cbegin(), episode.troubles.cend(), [](const Trouble& trouble) {
        return trouble.kind == Trouble::DiskFails || trouble.kind == Trouble::DiskFull;
    });
}

QStringList told(const Story& story)
{
    QStringList lines{u"seed %1: %2 tills%3"_s.arg(story.seed)
                          .arg(story.tills)
                          .arg(story.withCodes ? u", spending is confirmed by a code" : u"")};
    for (const Episode& episode : story.episodes) {
        QString line = u"till %1: %2"_s.arg(episode.till + 1).arg(episodeNames.at(episode.kind));
        if (episode.isBeside)
            line += u"; beside it a delivery"_s;
        for (const Trouble& trouble : episode.troubles)
            line += u"; %1 at %2, %3 times"_s.arg(nameOf(trouble.kind)).arg(trouble.at).arg(trouble.length);
        lines.append(line);
    }
    return lines;
}

} // namespace simulation
