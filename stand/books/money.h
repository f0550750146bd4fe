#pragma once

#include <QByteArray>
#include <QList>
#include <QString>

#include <optional>

namespace stand {

/// Of a point, or of the unit of money: which one, the name tells.
using Hundredths = qint64;

/// A sum or a quantity above this is a mistake of the till; below it no calculation here overflows.
constexpr Hundredths greatest = 100'000'000'000;

/// value * factor / divisor, cut to a whole; exact between, none may be negative. `divisor` is not 0.
[[nodiscard]] qint64 scaled(qint64 value, qint64 factor, qint64 divisor);

/// Parts in proportion to the weights that add up to `total` exactly; none is above its weight when `total`
/// is not above the sum of the weights. Zeros when all weights are 0.
[[nodiscard]] QList<qint64> spread(qint64 total, const QList<qint64>& weights);

/// A JSON number in whole units, rounded to 1/`parts` half away from zero; nothing when it is too great.
[[nodiscard]] std::optional<qint64> rounded(double value, qint64 parts = 100);

/// "12.50", "-0.01" or "12"; nothing for any other text.
[[nodiscard]] std::optional<Hundredths> read(const QString& text);

/// As a JSON number in whole units.
[[nodiscard]] double inUnits(Hundredths amount);

/// What points are worth and how they are earned. Every result is cut to hundredths.
struct Tariff
{
    qint64 points = 1; ///< So many points
    qint64 money = 1;  ///< are worth so much money.
    qint64 earnHundredthsOfPercent = 500;
    qint64 spendHundredthsOfPercent = 5000;

    [[nodiscard]] Hundredths moneyFor(Hundredths amountInPoints) const;
    [[nodiscard]] Hundredths pointsFor(Hundredths amountInMoney) const;
    [[nodiscard]] Hundredths earnedFor(Hundredths amountInMoney) const; ///< In points.
    /// How much money of a position's sum may be paid with points.
    [[nodiscard]] Hundredths discountLimit(Hundredths sum) const;
};

} // namespace stand
