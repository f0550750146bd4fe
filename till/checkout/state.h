#pragma once

#include "host/utils/tr.h"

#include <array>

namespace till {

/// How far the till has come with its receipt.
enum class State {
    Idle,            ///< none is open
    Sale,            ///< positions, card and points may still change
    Discounted,      ///< a sale on which points are spent: it can be paid or rolled back
    Return,          ///< its positions are settled, and its card is that of the sale
    SpendingUnknown, ///< the answer to a spending was lost: ask again, or roll back
    Paying,          ///< the loyalty system may have done its part: the receipt can only be closed
    Settled,         ///< it has, and is not asked again
    Abandoned,       ///< the cashier wants to be rid of the receipt, and that is not finished
};
inline constexpr std::array states{
    State::Idle,   State::Sale,    State::Discounted, State::Return, State::SpendingUnknown,
    State::Paying, State::Settled, State::Abandoned};

/// What the cashier can do with a receipt.
enum class Action {
    OpenSale,
    OpenReturn,
    SetLines,
    Identify,
    RefreshCard,
    RequestLimit,
    Spend, ///< where the outcome of a spending is not known: the same points again, others are refused
    ForgetPoints,
    RollBack,
    Pay,
};
inline constexpr std::array actions{
    Action::OpenSale,     Action::OpenReturn, Action::SetLines,     Action::Identify, Action::RefreshCard,
    Action::RequestLimit, Action::Spend,      Action::ForgetPoints, Action::RollBack, Action::Pay};

/// Why the action is not possible in that state, for the cashier, with the ways out; empty: it is possible.
/// "%1" stands for the receipt's number, "%2" for the points of the spending whose outcome is not known. This
/// is the one place that decides.
[[nodiscard]] tr::Tr obstacle(Action action, State state);

} // namespace till
