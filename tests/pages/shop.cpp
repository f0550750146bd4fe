#include "tests/pages/stagings.h"

// The situations of a shop of many tills, in docs/operations.md.

using namespace Qt::StringLiterals;
using namespace story;

namespace pagetest {

namespace {

const QString operations = u"docs/operations.md"_s;

/// A server on which nothing was made yet.
QString bareServer(World& world)
{
    world.startDatabase();
    world.type(u"dropdb shop"_s);
    return {};
}

/// Till 7 of a shop sells something while the service is away; it has moved on.
QString soldInShop(World& world)
{
    world.joinShop();
    world.startStand();
    world.play(openSale("R-17", {tea(300, 2)}) + identifyByCard("2000000000055"));
    world.stopStand();
    world.play(pay() + deliver());
    world.endTill();
    world.startStand();
    world.call(u"2026-11-21"_s, QDate::currentDate().toString(Qt::ISODate));
    return {};
}

QString soldAndDelivered(World& world)
{
    soldInShop(world);
    world.type(u"till queue deliver --shop"_s);
    return {};
}

/// The server that has the database is lost; the other one has all of it.
QString serverLost(World& world)
{
    soldAndDelivered(world);
    world.loseDatabase();
    return {};
}

} // namespace

QList<Section> shopSections()
{
    return {
        {operations, u"Setting up a shop"_s, {bareServer, soldAndDelivered}},
        {operations, u"The day of a shop"_s, {soldInShop, asItIs, asItIs}},
        {operations, u"The database's server is lost"_s, {serverLost}},
        {operations, u"A customer of a shop asks to be forgotten"_s, {soldAndDelivered}},
    };
}

} // namespace pagetest
