#pragma once

#include "host/storage/transaction.h"

#include <exception>
#include <functional>
#include <optional>

namespace till {

/// Gathers what an operation changes in the store into few commits: one before each request leaves and before
/// the cashier is asked, one at the end. In between the store is free for others to write. Belongs to the
/// thread that made it.
class StoreStep
{
public:
    StoreStep() = default;
    StoreStep(const StoreStep&) = delete;
    StoreStep& operator=(const StoreStep&) = delete;

    /// While one lives, what is changed is kept at once, and the store is free: for a question that may take
    /// its time. Throws like settle().
    class Break
    {
    public:
        explicit Break(StoreStep& step)
            : m_step(step)
        {
            m_step.settle();
        }
        ~Break() { m_step.resume(); }
        Break(const Break&) = delete;
        Break& operator=(const Break&) = delete;

    private:
        StoreStep& m_step;
    };

    /// Runs the operation. On return what it changed is on the disk, also when it throws: the service's
    /// answer stays known though it was a refusal. Throws what the operation throws; but where something of
    /// it could not be kept, that. Not to be nested.
    void run(const std::function<void()>& operation);
    /// Whether something that the last operation had changed could not be kept: then it was not done, back to
    /// the last commit.
    [[nodiscard]] bool hasLost() const { return m_failure != nullptr; }

    /// Puts on the disk what was changed so far, and frees the store until resume(). Throws when that cannot
    /// be done; then nothing of it is. Nothing happens outside of an operation.
    void settle();
    /// Gathers again. What can't be gathered is kept change by change.
    void resume() noexcept;

private:
    std::optional<storage::Transaction> m_changes;
    std::exception_ptr m_failure;
    bool m_running = false;
};

} // namespace till
