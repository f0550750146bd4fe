#include "till/admin/deliveryservice.h"

#include "host/utils/masking.h"
#include "host/utils/printable.h"
#include "till/setup/servicemanager.h"

#include <algorithm>
#include <chrono>
#include <mutex>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace till {

namespace {

constexpr std::chrono::milliseconds soon = 1s; // others write to the store too

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
            u"message %1 of %2, %3: "_s.arg(QString::number(message.id), message.group, message.operation());
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

/// Returns when it is time to stop.
void keepUp(const Signals& signals, const DeliveryWorker& worker, const Chores& chores,
            const std::function<void()>& reloadAll)
{
    constexpr std::chrono::seconds monitorsPace(30); // or so
    const auto patience = watchdogInterval().value_or(std::chrono::hours(1));
    const auto interval = std::min<std::chrono::milliseconds>(patience, monitorsPace);
    if (chores.often)
        chores.often();
    for (auto pause = std::min(interval, soon); !signals.stop.wait(pause, signals.reload.descriptor());) {
        if (signals.reload.take())
            reloadAll();
        if (chores.often)
            chores.often();
        // This thread hardly ever gets stuck; the worker delivers, so the watchdog is to watch that.
        if (worker.overdue() < patience)
            notifyServiceManager("WATCHDOG=1");
        pause = chores.spare && chores.spare() ? std::min(interval, soon) : interval;
    }
}

} // namespace

DeliveryState serve(const Invocation& invocation, const Signals& signals, Tool& tool,
                    DeliveryWorker::Options options, const Chores& chores)
{
    Account account(tool.console);
    Credentials credentials(tool.config);
    options.delivery.authorization = [&credentials](const QUrl& url) { return credentials.at(url); };
    options.delivery.attempted = [&account](const QueuedMessage& message, const QueueAttempt& attempt) {
        account.attempted(message, attempt);
    };
    options.changed = [&account](const DeliveryState& state) { account.changed(state); };
    {
        const DeliveryWorker worker(std::move(options));
        notifyServiceManager("READY=1");
        keepUp(signals, worker, chores, [&] {
            notifyServiceManager("RELOADING=1");
            reloadSettings(invocation.options, [&](const Options& anew, const Config& config) {
                tool.take(anew, config);
                credentials.set(config);
                if (chores.reload)
                    chores.reload();
            });
            notifyServiceManager("READY=1");
        });
        notifyServiceManager("STOPPING=1");
    }
    return account.state();
}

} // namespace till
