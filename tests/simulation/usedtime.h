#pragma once

#include <QDateTime>
#include <QMap>

#include <chrono>

namespace simulation {

/// The spans of the tills' clock in which somebody worked. Operations are numbered by its seconds, so that
/// after the clock was set back nobody may work in them again.
class UsedTime
{
public:
    void add(const QDateTime& begin, const QDateTime& end)
    {
        qint64 first = begin.toMSecsSinceEpoch();
        qint64 last = end.toMSecsSinceEpoch();
        // Those that it touches become one with it.
        auto span = m_spans.upperBound(last);
        while (span != m_spans.begin() && (--span).value() >= first) {
            first = std::min(first, span.key());
            last = std::max(last, span.value());
            span = m_spans.erase(span);
        }
        m_spans.insert(first, last);
    }
    /// The first time from then on after which nobody has worked for so long.
    [[nodiscard]] QDateTime firstFree(const QDateTime& from, std::chrono::milliseconds enough) const
    {
        qint64 free = from.toMSecsSinceEpoch();
        for (auto span = m_spans.begin(); span != m_spans.end(); ++span) {
            if (span.value() > free && span.key() < free + enough.count())
                free = span.value() + 1000;
        }
        return QDateTime::fromMSecsSinceEpoch(free, Qt::UTC);
    }

private:
    QMap<qint64, qint64> m_spans; ///< the ends by the beginnings, apart from one another
};

} // namespace simulation
