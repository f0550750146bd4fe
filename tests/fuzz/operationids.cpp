// The operation ids in a card record, which came back from a store or a host.
#include "tests/fuzz/clientworld.h"
#include "tests/fuzz/fuzz.h"

using namespace Qt::StringLiterals;

void fuzz::prepare() {}

void fuzz::decode(const QByteArray& bytes)
{
    ClientWorld world;
    world.card->setOperationId(QString::fromUtf8(bytes));
    const QString earned = world.client.getOperationId(world.card, u"earn"_s);
    world.client.setOperationId(world.card, u"spend"_s, u"17"_s);
    require(world.client.getOperationId(world.card, u"spend"_s) == u"17"_s, "an id is found again");
    require(world.client.getOperationId(world.card, u"earn"_s) == earned, "the other kind stays as it was");
}
