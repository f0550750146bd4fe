#pragma once

#include <cstdint>
#include <functional>
#include <stop_token>

/// A second program beside the till's, on the same data directory: a thread that takes turns with the first
/// one, so that only one of them ever goes on. Where the turn passes on is thrown, and the same dice give the
/// same turns.
namespace simulation::beside {

/// The second one begins with its first turn. It must not throw.
void begin(std::uint64_t dice, std::function<void(const std::stop_token&)> program);
/// Asks the second one to end, and waits until it has. Fine when there is none. For the first one.
void end();

/// Whether there is a second one.
bool isOn();
/// Whether it is the second one that asks.
bool isSecond();

/// A point between two steps of a program, at which it may be the other's turn.
void point();
/// While it lives there is none.
class Uninterrupted
{
public:
    Uninterrupted();
    ~Uninterrupted();
    Uninterrupted(const Uninterrupted&) = delete;
    Uninterrupted& operator=(const Uninterrupted&) = delete;
};
/// For who waits for the other: it is the other's turn, and comes back as thrown.
void pass();
/// Has the first one's thread do that: whoever asks may be the second. What is bound to a thread lives there.
void atHome(const std::function<void()>& errand);

} // namespace simulation::beside
