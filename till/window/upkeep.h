#pragma once

#include "host/storage/retention.h"
#include "till/window/checkoutmodel.h"
#include "till/window/waiting.h"

#include <QElapsedTimer>
#include <QTimer>

#include <chrono>

namespace till::window {

/// Removes what is kept for its time, a small step each second, while no customer is at the till: nothing is
/// on a receipt, and nobody has touched key, mouse or screen for a while.
class Upkeep : public QObject
{
public:
    /// Both are the caller's and outlive it.
    Upkeep(const CheckoutModel& model, const Waiting& waiting, const storage::KeepingTimes& times);

    /// How long nobody has to have touched anything; half a minute when nobody says.
    void setQuietTime(std::chrono::milliseconds time);

    /// How long it is since anything was touched, in milliseconds.
    [[nodiscard]] qint64 untouchedFor() const { return m_touched.elapsed(); }

    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    [[nodiscard]] bool isQuiet() const;

    const CheckoutModel& m_model;
    const Waiting& m_waiting;
    storage::Retention m_retention;
    std::chrono::milliseconds m_quietTime{30'000};
    QElapsedTimer m_touched;
    QTimer m_timer;
};

} // namespace till::window
