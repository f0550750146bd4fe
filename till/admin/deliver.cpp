#include "host/queue/deliveryworker.h"
#include "host/queue/messagequeue.h"
#include "host/storage/datacheck.h"
#include "host/storage/datadirectory.h"
#include "host/utils/logging.h"
#include "host/utils/masking.h"
#include "host/utils/printable.h"
#include "till/admin/commands.h"
#include "till/admin/metricsfile.h"
#include "till/admin/sparetime.h"
#include "till/admin/tool.h"
#include "till/audit/queuereport.h"
#include "till/audit/recording.h"
#include "till/checkout/deliverynow.h"
#include "till/setup/reloading.h"
#include "till/setup/servicemanager.h"
#include "till/setup/stopsignals.h"

#include <algorithm>
#include <chrono>
#include <mutex>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace till {

namespace {

constexpr std::chrono::milliseconds soon = 1s; // others write to the store too
const QString metricsFileOption = u"metrics-file"_s;

QString phaseText(const DeliveryState& state)
{
    switch (state.phase) {
    case DeliveryState::Phase::Starting:
        return u"starting"_s;
    case DeliveryState::Phase::Standby:
        return u"standing by: another delivery is under way on this data directory"_s;
    case DeliveryState::Phase::Delivering:
        return u"delivering"_s;
    case DeliveryState::Phase::Trouble:
        return u"trouble: "_s + state.trouble;
    case DeliveryState::Phase::Stopped:
        return u"stopped"_s;
    }
    return {};
}

/// What the worker's thread tells, on the console and to the service manager.
class Account
{
public:
    explicit Account(Console& console)
        : m_console(console)
    {}

    void changed(const DeliveryState& state)
    {
        const std::lock_guard lock(m_mutex);
        m_state = state;
        const QString text = utils::printable(phaseText(state)); // a line feed would begin another variable
        // Every user of the machine may read the status: why it failed may hold the service's words.
        notifyServiceManager("STATUS=" + text.toUtf8() +
                             (state.lastError.isEmpty() ? "" : "; the last attempt failed, see the journal"));
        if (text == m_last)
            return;
        m_last = text;
        m_console.line(text);
    }

    void attempted(const QueuedMessage& message, const QueueAttempt& attempt)
    {
        const std::lock_guard lock(m_mutex);
        const QString what =
            u"message %1 of %2, %3: "_s.arg(QString::number(message.id), message.group, operationOf(message));
        if (!attempt.error.isEmpty())
            m_console.line(what + utils::maskNumbers(attempt.error));
        else
            m_console.line(what + u"delivered"_s +
                           (attempt.account.isEmpty() ? QString() : u", "_s + attempt.account));
    }

    /// Once the worker is gone, its last one.
    [[nodiscard]] const DeliveryState& state() const { return m_state; }

private:
    Console& m_console;
    std::mutex m_mutex;
    QString m_last;
    DeliveryState m_state;
};

/// What is presented to the service, which may change while it delivers.
class Credentials
{
public:
    explicit Credentials(const Config& config) { set(config); }

    void set(const Config& config)
    {
        const std::lock_guard lock(m_mutex);
        m_authorization = currentAuthorization(config);
    }
    [[nodiscard]] QString at(const QUrl& url) const
    {
        const std::lock_guard lock(m_mutex);
        return m_authorization ? m_authorization(url) : QString();
    }

private:
    mutable std::mutex m_mutex;
    std::function<QString(const QUrl&)> m_authorization;
};

/// Where the metrics go: an option says it over the settings.
QString metricsFileOf(const Invocation& invocation, const Tool& tool)
{
    return invocation.has(metricsFileOption) ? invocation.own.value(metricsFileOption)
                                             : metricsFileOf(tool.config, tool.options);
}

void reload(const Invocation& invocation, const QString& directory, Tool& tool, Credentials& credentials,
            MetricsFile& metrics, SpareTime& spareTime)
{
    reloadSettings(invocation.options, [&](const Options& options, const Config& config) {
        tool.take(options, config);
        credentials.set(config);
        metrics.setName(metricsFileOf(invocation, tool));
        spareTime.set(config);
        if (dataDirectoryOf(options) != directory)
            utils::logger(u"till"_s)->warn(u"%1 is delivered until the next start"_s.arg(directory));
    });
}

/// Returns when it is time to stop.
void keepUp(const StopSignals& signals, const ReloadSignals& reloads, const DeliveryWorker& worker,
            MetricsFile& metrics, SpareTime& spareTime, const std::function<void()>& reloadAll)
{
    constexpr std::chrono::seconds monitorsPace(30); // or so
    const auto patience = watchdogInterval().value_or(std::chrono::hours(1));
    const auto interval = std::min<std::chrono::milliseconds>(patience, monitorsPace);
    metrics.write();
    for (auto pause = std::min(interval, soon); !signals.wait(pause, reloads.descriptor());) {
        if (reloads.take())
            reloadAll();
        metrics.write();
        // This thread hardly ever gets stuck; the worker delivers, so the watchdog is to watch that.
        if (worker.overdue() < patience)
            notifyServiceManager("WATCHDOG=1");
        pause = spareTime.use() ? std::min(interval, soon) : interval;
    }
}

int run(const Invocation& invocation)
{
    const StopSignals signals;
    const ReloadSignals reloads; // from the first to the last moment: without them a reload ends the program
    Tool tool(invocation);
    const QString directory = dataDirectoryOf(tool.options);
    storage::setDataDirectory(directory);
    // What makes delivery impossible is said at once.
    const storage::OpenedStore opened = openDataDirectory();
    for (const storage::DataFinding& finding : opened.findings)
        tool.console.line(finding.text.ru(), Console::Colour::Yellow);
    const Recording recording(invocation.own.value(u"record"_s));
    Account account(tool.console);
    Credentials credentials(tool.config);
    MetricsFile metrics(metricsFileOf(invocation, tool));
    {
        QueueDelivery::Options delivery = deliveryOptions(tool.config);
        delivery.authorization = [&credentials](const QUrl& url) { return credentials.at(url); };
        delivery.attempted = [&account](const QueuedMessage& message, const QueueAttempt& attempt) {
            account.attempted(message, attempt);
        };
        const DeliveryWorker worker({.delivery = delivery, .changed = [&account](const DeliveryState& state) {
                                         account.changed(state);
                                     }});
        notifyServiceManager("READY=1");
        SpareTime spareTime(tool.config);
        keepUp(signals, reloads, worker, metrics, spareTime, [&] {
            notifyServiceManager("RELOADING=1");
            reload(invocation, directory, tool, credentials, metrics, spareTime);
            notifyServiceManager("READY=1");
        });
        notifyServiceManager("STOPPING=1");
    }
    metrics.write();
    const DeliveryState& last = account.state();
    const MessageQueue queue;
    tool.console.value(QJsonDocument(QJsonObject{{u"delivered"_s, last.delivered},
                                                 {u"failed"_s, last.failed},
                                                 {u"waiting"_s, queue.waitingCount()},
                                                 {u"parked"_s, queue.parkedCount()}}));
    return exitWell;
}

} // namespace

Command deliverCommand()
{
    return {.name = u"deliver"_s,
            .about = u"Deliver the outgoing queue until told to stop: the delivery service."_s,
            .details =
                u"Sends each message when it is due, and what comes in at once. Where another delivery is "
                u"under way on the same\n"
                "data directory, it stands by and takes over. SIGTERM and SIGINT end it after the messages "
                "in hand. The\n"
                "present password takes the place of the one that a message was queued with. Tells the "
                "service manager that\n"
                "started it when it is ready, and keeps its watchdog. SIGHUP has it read its settings anew. "
                "While "
                "nothing is to be\n"
                "sent it removes what was kept for its time (Till:keepDays, Till:keepJournalDays).\n\n"
                "With --json: {\"delivered\", \"failed\" (attempts), \"waiting\", \"parked\"}, at the end."_s,
            .options = {{metricsFileOption, u"FILE"_s,
                         u"Keep metrics in this file for a collector, instead of Till:metricsFile."_s},
                        recordOption()},
            .examples = {{u"till deliver"_s, u"in the foreground"_s},
                         {u"systemctl enable --now kyr-loyalty-deliver"_s, u"as a service"_s}},
            .statuses = {{0, u"it was told to stop"_s},
                         {2, u"the settings or the data directory cannot be used"_s}},
            .run = run};
}

} // namespace till
