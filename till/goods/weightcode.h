#pragma once

#include <QString>

#include <optional>

namespace till {

/// How many digits of a weight barcode say that it is one.
inline constexpr int weightPrefixLength = 2;

/// What scales print: a barcode of 13 digits, of which two are the shop's prefix, five the article, five the
/// grams and one the check digit.
struct WeightCode
{
    QString articul; ///< five digits
    int grams;
    bool isGenuine; ///< the check digit is right
};

/// Nothing for a code of another form; which prefixes are those of scales the caller knows.
std::optional<WeightCode> weightCodeOf(const QString& code);

} // namespace till
