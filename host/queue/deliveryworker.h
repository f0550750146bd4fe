#pragma once

#include "host/queue/queuedelivery.h"
#include "host/utils/export.h"

#include <QString>

#include <chrono>
#include <functional>
#include <memory>

/// What a DeliveryWorker is about.
struct DeliveryState
{
    /// What the worker is doing.
    enum class Phase {
        Starting,   ///< has not looked at the data directory yet
        Standby,    ///< another worker, maybe of another program, delivers this queue
        Delivering, ///< it is this one's to deliver
        Trouble,    ///< the data directory can't be used; tried again after a growing pause
        Stopped,    ///< has ended, or is about to
    };

    Phase phase = Phase::Starting; ///< what it is doing
    int delivered = 0;             ///< by this worker
    int failed = 0;                ///< attempts of this worker that were not successful
    QString lastError;             ///< of the last attempt: for the administrator; empty after a success
    QString trouble;               ///< in Trouble: why, as the host shows it

    /// Equal in every member.
    friend bool operator==(const DeliveryState&, const DeliveryState&) = default;
};

/// Delivers the outgoing queue in a thread of its own, which needs no event loop, from its making to its end.
/// What is put in by this process is sent at once, what others put in within `poll`. Any number of workers,
/// in any programs, may live on one data directory: one delivers, the others stand by, and one of them takes
/// over when it ends, however it ends.
///
/// A data directory has to be named before and stay while the worker lives; so have all replacements in
/// MockFactory.
class HOST_EXPORT DeliveryWorker
{
public:
    /// What a worker does again and again, made and used in its thread. Both operations throw when it can't
    /// be done; the worker makes another one after a growing pause.
    class Job
    {
    public:
        virtual ~Job() = default;
        /// Does what is due; after a stop it begins nothing more.
        virtual void run(const std::stop_token& stop) = 0;
        /// Waits until there may be something to do, the time is over or a stop is asked for. False: whatever
        /// is put into the data directory's queue tells that.
        virtual bool wait(std::chrono::milliseconds /*longest*/, const std::stop_token& /*stop*/)
        {
            return false;
        }
    };

    /// What a worker is told; every member may be left as it is.
    struct Options
    {
        /// Makes what it does, where that is not to deliver the data directory's queue. `delivery` is told of
        /// what is sent.
        std::function<std::unique_ptr<Job>(const QueueDelivery::Options& delivery)> job = {};
        /// Only one worker of the data directory does it at a time; the others stand by.
        bool alone = true;
        /// How it sends; its functions are called in the worker's thread.
        QueueDelivery::Options delivery = {};
        /// Told of each change of the state, in the worker's thread, one change after the other. It must not
        /// destroy the worker.
        std::function<void(const DeliveryState&)> changed = {};
        std::chrono::milliseconds poll{1000}; ///< how often to look for what other processes have done
    };

    DeliveryWorker();
    /// Starts the thread.
    explicit DeliveryWorker(Options options);
    /// Waits until the messages in hand have their answers, for as long as their timeouts, and begins no
    /// other; a pause is cut short.
    ~DeliveryWorker();
    DeliveryWorker(const DeliveryWorker&) = delete;
    DeliveryWorker& operator=(const DeliveryWorker&) = delete;

    /// Asks the thread to end and does not wait. The state tells when it has.
    void requestStop();

    /// May be asked for in any thread.
    [[nodiscard]] DeliveryState state() const;

    /// How long the thread has been busy with one step beyond what that step may take: beyond the pause that
    /// it makes, beyond the timeouts of the messages that it sends, beyond no time at all with anything else.
    /// Small while the worker lives, idle or not; grows without end once it is stuck. Zero when it has ended.
    /// May be asked for in any thread.
    [[nodiscard]] std::chrono::milliseconds overdue() const;

private:
    class Thread;
    std::unique_ptr<Thread> m_thread;
};
