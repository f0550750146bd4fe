#include "till/cli/suggestion.h"

#include <algorithm>
#include <iterator>
#include <numeric>
#include <vector>

using namespace Qt::StringLiterals;

namespace till {

namespace {

/// How many letters must be changed, added or dropped to make one word of the other, whatever their case.
qsizetype distance(const QString& left, const QString& right)
{
    const QString a = left.toLower();
    const QString b = right.toLower();
    std::vector<qsizetype> row(static_cast<std::size_t>(b.size()) + 1);
    std::iota(row.begin(), row.end(), 0);
    for (qsizetype i = 0; i < a.size(); ++i) {
        qsizetype diagonal = row[0];
        row[0] = i + 1;
        for (std::size_t j = 1; j < row.size(); ++j) {
            const qsizetype replaced = diagonal + (a[i] == b[static_cast<qsizetype>(j) - 1] ? 0 : 1);
            diagonal = row[j];
            row[j] = std::min({row[j] + 1, row[j - 1] + 1, replaced});
        }
    }
    return row.back();
}

} // namespace

QString suggestion(const QString& wrong, const QStringList& known)
{
    if (known.isEmpty())
        return {};
    std::vector<qsizetype> distances;
    std::transform(known.begin(), known.end(), std::back_inserter(distances),
                   [&wrong](const QString& word) { return distance(wrong, word); });
    const auto least = std::min_element(distances.begin(), distances.end());
    const QString& nearest = known.at(least - distances.begin());
    if (*least <= (nearest.size() < 4 ? 1 : std::max<qsizetype>(2, nearest.size() / 3)))
        return u"; did you mean \"%1\"?"_s.arg(nearest);
    return u"; known are "_s + known.join(u", "_s);
}

} // namespace till
