#pragma once

#include "host/network/idlework.h"

#include <QObject>

#include <functional>

namespace till::window {

/// Whether a request runs. While one does, the window goes on painting but takes no input: each press is
/// refused there and then, so that none comes late and meets another screen than the one it was meant for.
/// One at a time, on the window's thread.
class Waiting : public QObject
{
    Q_OBJECT

public:
    Waiting();
    ~Waiting() override;

    [[nodiscard]] bool active() const { return m_depth > 0 && m_pauses == 0; }
    /// Also while a dialog of the request waits for the cashier.
    [[nodiscard]] bool underWay() const { return m_depth > 0; }
    /// While such a dialog wants to know what only the customer knows: a code.
    [[nodiscard]] bool asksCustomer() const { return m_customerPauses > 0; }

    /// The cashier has cancelled the step that is under way: what it comes to is no failure.
    void noteCancelled() { m_cancelled = true; }
    /// Whether the last step was.
    [[nodiscard]] bool wasCancelled() const { return m_cancelled; }

    /// A request, or several of one step, is under way as long as this lives.
    class Step
    {
    public:
        explicit Step(Waiting& waiting);
        ~Step();
        Step(const Step&) = delete;
        Step& operator=(const Step&) = delete;

    private:
        Waiting& m_waiting;
    };

    /// The cashier is asked something in the middle of a step.
    class Pause
    {
    public:
        /// `asksCustomer`: for what only the customer can say.
        explicit Pause(Waiting& waiting, bool asksCustomer = false);
        ~Pause();
        Pause(const Pause&) = delete;
        Pause& operator=(const Pause&) = delete;

    private:
        Waiting& m_waiting;
        bool m_asksCustomer;
    };

    bool eventFilter(QObject* watched, QEvent* event) override;

Q_SIGNALS:
    /// active() is another.
    void changed();
    /// A press was not taken.
    void pressIgnored();

private:
    void work();
    /// Refuses what was pressed before this moment.
    void drain();

    int m_depth = 0;
    int m_pauses = 0;
    int m_customerPauses = 0; ///< that wait for the customer
    bool m_cancelled = false;
    IdleWork m_idle;
};

} // namespace till::window
