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

int run(const Invocation& invocation)
{
    const StopSignals signals;
    Tool tool(invocation);
    const auto queue = queueOf(invocation, tool);
    std::stop_source stop;
    const auto heedSignals = [&] {
        if (signals.wait({}))
            stop.request_stop();
    };
    QueueDelivery::Summary summary;
    {
        const Progress progress(tool.console, queue->waitingCount());
        QueueDelivery::Options options = deliveryOptions(tool.config);
        options.attempted = [&](const QueuedMessage&, const QueueAttempt&) { heedSignals(); };
        QueueDelivery delivery(*queue, options);
        heedSignals();
        if (isOfShop(invocation)) { // others may deliver it as well
            queue->expedite();
            summary = delivery.deliverDue(stop.get_token());
        } else {
            summary = delivery.run(stop.get_token());
        }
    }
    const QString error = utils::maskNumbers(summary.firstError);
    tool.console.line(u"%1 delivered, %2 waiting, %3 parked"_s.arg(summary.delivered)
                          .arg(summary.waiting)
                          .arg(summary.parked));
    if (!error.isEmpty())
        tool.console.line(u"first error: "_s + error, Console::Colour::Red);
    tool.console.value(QJsonDocument(QJsonObject{{u"delivered"_s, summary.delivered},
                                                 {u"waiting"_s, summary.waiting},
                                                 {u"parked"_s, summary.parked},
                                                 {u"firstError"_s, error}}));
    return summary.waiting + summary.parked == 0 ? exitWell : exitFailed;
}

} // namespace

Command queueDeliverCommand()
{
    return {.name = u"queue deliver"_s,
            .about = u"Send what waits now, once, without regard to its pauses."_s,
            .details =
                u"SIGINT and SIGTERM end it after the messages in hand. Refused while a delivery is under "
                u"way on the same data\n"
                "directory.\n\nWith --json: {\"delivered\", \"waiting\", \"parked\", \"firstError\"}."_s,
            .options = shopOptions(),
            .examples = {{u"till queue deliver"_s, u"after the network came back"_s}},
            .statuses = {{0, u"the queue is empty"_s},
                         {1, u"messages wait or are parked"_s},
                         {2, u"the queue cannot be used, or another delivery is under way"_s}},
            .run = run};
}

} // namespace till
