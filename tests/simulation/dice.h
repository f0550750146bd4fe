#pragma once

#include <cstdint>

namespace simulation {

/// Chance from a number: the same one gives the same throws, on every machine.
class Dice
{
public:
    explicit Dice(std::uint64_t seed)
        : m_state(seed)
    {}

    /// SplitMix64: each throw is a hash of its place, so that neighbouring seeds have nothing in common.
    std::uint64_t next()
    {
        m_state += 0x9e3779b97f4a7c15;
        std::uint64_t bits = m_state;
        bits = (bits ^ (bits >> 30)) * 0xbf58476d1ce4e5b9;
        bits = (bits ^ (bits >> 27)) * 0x94d049bb133111eb;
        return bits ^ (bits >> 31);
    }
    /// From 0 to one below.
    int below(int bound) { return static_cast<int>(next() % static_cast<std::uint64_t>(bound)); }
    /// From one to the other, both included.
    int between(int least, int most) { return least + below(most - least + 1); }
    bool oneIn(int number) { return below(number) == 0; }

private:
    std::uint64_t m_state;
};

} // namespace simulation
