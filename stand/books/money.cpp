#include "stand/books/money.h"

#include <QRegularExpression>

#include <cmath>
#include <limits>
#include <numeric>

using namespace Qt::StringLiterals;

namespace stand {

namespace {

constexpr qint64 wholeInHundredthsOfPercent = 10'000;

} // namespace

qint64 scaled(qint64 value, qint64 factor, qint64 divisor)
{
    __extension__ using Wide = __int128;
    return static_cast<qint64>(static_cast<Wide>(value) * factor / divisor);
}

QList<qint64> spread(qint64 total, const QList<qint64>& weights)
{
    const auto whole = std::accumulate(weights.begin(), weights.end(), qint64(0));
    QList<qint64> parts;
    qint64 weightSoFar = 0;
    qint64 partSoFar = 0;
    for (const auto weight : weights) {
        // Cutting the running total, not each part, leaves nothing over at the end.
        weightSoFar += weight;
        const auto running = whole == 0 ? 0 : scaled(total, weightSoFar, whole);
        parts.append(running - partSoFar);
        partSoFar = running;
    }
    return parts;
}

std::optional<qint64> rounded(double value, qint64 parts)
{
    // A decimal half such as 1.005 is seldom a double: the nearest one may lie just below.
    const auto lift = 1 + 4 * std::numeric_limits<double>::epsilon();
    const auto scaledUp = std::round(value * static_cast<double>(parts) * lift);
    if (!(std::abs(scaledUp) <= static_cast<double>(greatest)))
        return std::nullopt;
    return static_cast<qint64>(scaledUp);
}

std::optional<Hundredths> read(const QString& text)
{
    static const QRegularExpression form(uR"(\A(-?)([0-9]{1,9})(?:\.([0-9]{2}))?\z)"_s);
    const auto match = form.match(text);
    if (!match.hasMatch())
        return std::nullopt;
    const auto amount = match.captured(2).toLongLong() * 100 + match.captured(3).toLongLong();
    return match.captured(1).isEmpty() ? amount : -amount;
}

double inUnits(Hundredths amount) { return static_cast<double>(amount) / 100; }

Hundredths Tariff::moneyFor(Hundredths amountInPoints) const { return scaled(amountInPoints, money, points); }

Hundredths Tariff::pointsFor(Hundredths amountInMoney) const { return scaled(amountInMoney, points, money); }

Hundredths Tariff::earnedFor(Hundredths amountInMoney) const
{
    return scaled(amountInMoney, earnHundredthsOfPercent * points, wholeInHundredthsOfPercent * money);
}

Hundredths Tariff::discountLimit(Hundredths sum) const
{
    return scaled(sum, spendHundredthsOfPercent, wholeInHundredthsOfPercent);
}

} // namespace stand
