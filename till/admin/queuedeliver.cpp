#include "host/network/exchangeoutcome.h"
#include "host/network/restclient.h"
#include "host/queue/messagequeue.h"
#include "host/queue/queuedelivery.h"
#include "host/utils/masking.h"
#include "till/admin/commands.h"
#include "till/admin/place.h"
#include "till/admin/tool.h"
#include "till/audit/queuereport.h"
#include "till/checkout/deliverynow.h"
#include "till/cli/usageerror.h"
#include "till/setup/stopsignals.h"

using namespace Qt::StringLiterals;

namespace till {

namespace {

/// While it lives, tells of each exchange how far the delivery has come.
class Progress
{
public:
    Progress(Console& console, int total)
        : m_exchanges(RestClient::observe([&console, total, sent = 0](const RestExchange& exchange) mutable {
            const bool accepted =
                network::outcomeOf(exchange.errorCode) == network::ExchangeOutcome::Accepted;
            const QString outcome = accepted ? u"ok"_s : u"failed"_s;
            console.progress(
                u"%1 of %2: %3 %4"_s.arg(QString::number(++sent), QString::number(total),
                                         utils::maskNumbers(exchange.url.path().section(u'/', -1)), outcome));
        }))
    {}

private:
    utils::Registration m_exchanges;
};

QueueDelivery::Summary delivered(const Invocation& invocation, Tool& tool, OutgoingQueue& queue)
{
    const StopSignals signals;
    std::stop_source stop;
    const auto heedSignals = [&] {
        if (signals.wait({}))
            stop.request_stop();
    };
    const Progress progress(tool.console, queue.waitingCount());
    QueueDelivery::Options options = deliveryOptions(tool.config);
    options.attempted = [&](const QueuedMessage&, const QueueAttempt&) { heedSignals(); };
    QueueDelivery delivery(queue, options);
    heedSignals();
    if (!isOfShop(invocation))
        return delivery.run(stop.get_token());
    queue.expedite(); // others may deliver it as well
    return delivery.deliverDue(stop.get_token());
}

/// What lies at a till of a shop goes where the earlier messages of its receipts are.
QueueDelivery::Summary movedOn(const ShopSettings& shop)
{
    const auto held = QueueDelivery::lock();
    if (!held)
        throw UsageError(u"till: queue deliver: another delivery is under way on this data directory"_s);
    return moveOn(MessageQueue(), shop);
}

int run(const Invocation& invocation)
{
    Tool tool(invocation);
    const auto queue = queueOf(invocation, tool);
    const auto shop = isOfShop(invocation) ? std::nullopt : shopOf(tool.config);
    const QueueDelivery::Summary summary = shop ? movedOn(*shop) : delivered(invocation, tool, *queue);
    const QString error = utils::maskNumbers(summary.firstError);
    tool.console.line((shop ? u"%1 moved on to the shop's database, %2 waiting, %3 parked"_s
                            : u"%1 delivered, %2 waiting, %3 parked"_s)
                          .arg(summary.delivered)
                          .arg(summary.waiting)
                          .arg(summary.parked));
    if (!error.isEmpty())
        tool.console.line(u"first error: "_s + error, Console::Colour::Red);
    tool.console.value(QJsonDocument(QJsonObject{{shop ? u"moved"_s : u"delivered"_s, summary.delivered},
                                                 {u"waiting"_s, summary.waiting},
                                                 {u"parked"_s, summary.parked},
                                                 {u"firstError"_s, error}}));
    return summary.waiting + summary.parked == 0 ? exitWell : exitFailed;
}

} // namespace

Command queueDeliverCommand()
{
    return {
        .name = u"queue deliver"_s,
        .about = u"Send what waits now, once, without regard to its pauses."_s,
        .details =
            u"SIGINT and SIGTERM end it after the messages in hand. Refused while a delivery is under "
            u"way on the same data\n"
            "directory. At a till of a shop it moves what waits on to the shop's database, from where --shop "
            "sends "
            u"it.\n\nWith --json: {\"delivered\" (at a till of a shop \"moved\"), \"waiting\", \"parked\", "
            u"\"firstError\"}."_s,
        .options = shopOptions(),
        .examples = {{u"till queue deliver"_s, u"after the network came back"_s}},
        .statuses = {{0, u"the queue is empty"_s},
                     {1, u"messages wait or are parked"_s},
                     {2, u"the queue cannot be used, or another delivery is under way"_s}},
        .run = run};
}

} // namespace till
