#pragma once

#include <QtGlobal>

#include <optional>
#include <random>

namespace shopday {

/// What goes wrong, and when. Nothing does without a seed.
class Disturbance
{
public:
    explicit Disturbance(std::optional<quint32> seed)
        : m_random(seed.value_or(0))
        , m_isQuiet(!seed)
    {}

    [[nodiscard]] bool isQuiet() const { return m_isQuiet; }
    /// Whether something happens that does so once in that many times.
    bool happens(int onceIn) { return !m_isQuiet && m_random() % static_cast<quint32>(onceIn) == 0; }
    /// A moment of something that takes so long.
    qint64 momentOf(qint64 milliseconds)
    {
        return static_cast<qint64>(m_random() % static_cast<quint32>(qMax<qint64>(1, milliseconds)));
    }

private:
    std::mt19937 m_random;
    bool m_isQuiet;
};

} // namespace shopday
