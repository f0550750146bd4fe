#include "till/admin/queueplace.h"

#include "host/queue/messagequeue.h"
#include "host/shop/shopqueue.h"
#include "till/cli/usageerror.h"
#include "till/setup/shopsettings.h"

using namespace Qt::StringLiterals;

namespace till {

namespace {

const QString ofShop = u"shop"_s;
const QString ofTill = u"till"_s;

} // namespace

QList<OptionKind> shopOptions()
{
    return {{ofShop, {}, u"The queue of the whole shop instead of this till's."_s},
            {ofTill, u"NAME"_s, u"With --shop: only what that till has put in."_s}};
}

bool isOfShop(const Invocation& invocation)
{
    if (invocation.has(ofTill) && !invocation.has(ofShop))
        throw UsageError(u"till: --till names a till of the shop: say --shop too"_s);
    return invocation.has(ofShop);
}

std::unique_ptr<OutgoingQueue> queueOf(const Invocation& invocation, Tool& tool)
{
    if (isOfShop(invocation)) {
        auto queue = std::make_unique<shop::ShopQueue>(databaseOf(tool.config));
        queue->setTill(invocation.own.value(ofTill));
        return queue;
    }
    tool.useDataDirectory();
    return std::make_unique<MessageQueue>();
}

} // namespace till
