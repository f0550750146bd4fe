#include "tests/simulation/delivery.h"

#include "host/storage/datacheck.h"
#include "tests/simulation/beside.h"
#include "tests/simulation/fate.h"
#include "till/checkout/deliverynow.h"

#include <exception>
#include <utility>

using namespace Qt::StringLiterals;

namespace simulation {

Delivery::Delivery(const Dice& dice, Config config, Reports reports)
    : m_dice(dice)
    , m_config(std::move(config))
    , m_reports(std::move(reports))
{}

void Delivery::run(const std::stop_token& stop)
{
    Fate& fate = Fate::one();
    while (!stop.stop_requested() && fate.startAnew()) {
        m_underWay.clear();
        try {
            live(stop);
        } catch (const std::exception& failure) {
            if (!fate.isDead())
                m_reports.failed(QString::fromUtf8(failure.what()));
        }
        beside::pass();
    }
}

/// As `till deliver` does it; whoever waits gives the turn away instead of sleeping.
void Delivery::live(const std::stop_token& stop)
{
    const storage::OpenedStore opened = openDataDirectory();
    for (const storage::DataFinding& finding : opened.findings)
        m_reports.note(u"the delivery found: "_s + finding.text.ru());
    auto lock = QueueDelivery::lock();
    for (; !lock && !stop.stop_requested(); lock = QueueDelivery::lock())
        beside::pass();
    MessageQueue queue;
    QueueDelivery::Options options = till::deliveryOptions(m_config);
    options.attempting = [&](const QueuedMessage& message) { attempting(queue, message); };
    options.attempted = [this](const QueuedMessage& message, const QueueAttempt& attempt) {
        attempted(message, attempt);
    };
    for (QueueDelivery delivery(queue, options); !stop.stop_requested(); beside::pass())
        delivery.deliverDue(*lock, stop);
}

void Delivery::attempting(MessageQueue& queue, const QueuedMessage& message)
{
    if (message.group.isEmpty())
        return;
    if (m_underWay.contains(message.group))
        m_reports.found(u"message %1 about %2 overtakes another"_s.arg(message.id).arg(message.group));
    m_underWay.insert(message.group);
    if (m_dice.oneIn(30)) { // the administrator, who does not know that it is on its way
        m_reports.note(u"message %1 about %2 is dropped"_s.arg(message.id).arg(message.group));
        queue.drop(message.id);
    }
}

void Delivery::attempted(const QueuedMessage& message, const QueueAttempt& attempt)
{
    m_underWay.remove(message.group);
    m_reports.note(u"the delivery sends message %1 about %2%3"_s.arg(message.id)
                       .arg(message.group, attempt.error.isEmpty() ? u""_s : u": "_s + attempt.error));
}

} // namespace simulation
