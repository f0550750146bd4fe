#include "till/admin/place.h"

#include "host/queue/messagequeue.h"
#include "host/shop/shopqueue.h"
#include "till/audit/shoprecords.h"
#include "till/cli/usageerror.h"
#include "till/setup/shopsettings.h"

using namespace Qt::StringLiterals;

namespace till {

namespace {

const QString ofShop = u"shop"_s;
const QString ofTill = u"till"_s;

} // namespace

OptionKind shopOption() { return {ofShop, {}, u"The whole shop, in its database, instead of this till."_s}; }

QList<OptionKind> shopOptions()
{
    return {shopOption(), {ofTill, u"NAME"_s, u"With --shop: only what is of that till."_s}};
}

bool isOfShop(const Invocation& invocation)
{
    if (invocation.has(ofTill) && !invocation.has(ofShop))
        throw UsageError(u"till: --till names a till of the shop: say --shop too"_s);
    return invocation.has(ofShop);
}

QString tillNamed(const Invocation& invocation) { return invocation.own.value(ofTill); }

std::unique_ptr<OutgoingQueue> queueOf(const Invocation& invocation, Tool& tool)
{
    if (isOfShop(invocation)) {
        auto queue = std::make_unique<shop::ShopQueue>(databaseOf(tool.config));
        queue->setTill(tillNamed(invocation));
        return queue;
    }
    tool.useDataDirectory();
    return std::make_unique<MessageQueue>();
}

std::unique_ptr<Records> recordsOf(const Invocation& invocation, Tool& tool)
{
    if (isOfShop(invocation))
        return std::make_unique<ShopRecords>(databaseOf(tool.config), tillNamed(invocation));
    tool.useDataDirectory();
    return std::make_unique<TillRecords>();
}

} // namespace till
