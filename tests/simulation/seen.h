#pragma once

#include <QString>

#include <optional>

namespace simulation {

/// What a cashier has seen of a receipt: all that the till may never be wrong about afterwards.
struct Seen
{
    QString identifier;
    int till = 0;
    QString sale;                ///< that a return gives back; empty: it is a sale
    QString card;                ///< that was on it; empty: none
    std::optional<double> spent; ///< points, as the till said
    bool paid = false;
    bool earns = false;   ///< the till said that it does, or will
    bool leaving = false; ///< somebody has begun to roll it back
    bool gone = false;    ///< and it was
};

} // namespace simulation
