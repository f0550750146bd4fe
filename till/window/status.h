#pragma once

#include "till/window/checkoutmodel.h"

#include <QString>

namespace till::window {

/// One line of the window's foot.
struct Status
{
    enum class State { Well, Warning, Bad };

    State state = State::Well;
    QString text;
};

/// What works at this moment, in plain words; what needs a person comes first.
Status statusOf(CheckoutModel& model);

/// What happened to the receipt, a line for each entry, in Russian.
QStringList timelineOf(const QString& receipt);

/// What waits to be sent, a line for each message.
QStringList queueLines(const MessageQueue& queue);

} // namespace till::window
