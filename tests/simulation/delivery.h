#pragma once

#include "host/queue/messagequeue.h"
#include "host/queue/queuedelivery.h"
#include "host/utils/config.h"
#include "tests/simulation/dice.h"

#include <QSet>
#include <QString>

#include <functional>
#include <stop_token>

namespace simulation {

/// The delivery service of a till: a program of its own on the till's data directory, started anew when it
/// was killed.
class Delivery
{
public:
    struct Reports
    {
        std::function<void(const QString&)> note;
        std::function<void(const QString&)> found;  ///< what is wrong
        std::function<void(const QString&)> failed; ///< why it cannot do its work for now
    };

    Delivery(const Dice& dice, Config config, Reports reports);
    /// Until it is told to stop, or the power fails.
    void run(const std::stop_token& stop);

private:
    void live(const std::stop_token& stop);
    void attempting(MessageQueue& queue, const QueuedMessage& message);
    void attempted(const QueuedMessage& message, const QueueAttempt& attempt);

    Dice m_dice;
    Config m_config;
    Reports m_reports;
    QSet<QString> m_underWay; ///< receipts of which a message is
};

} // namespace simulation
