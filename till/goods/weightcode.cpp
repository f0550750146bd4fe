#include "till/goods/weightcode.h"

#include <algorithm>

namespace till {

std::optional<WeightCode> weightCodeOf(const QString& code)
{
    constexpr int length = 13;
    constexpr int part = 5;
    const auto isDigit = [](QChar c) { return c >= u'0' && c <= u'9'; };
    if (code.size() != length || !std::all_of(code.begin(), code.end(), isDigit))
        return std::nullopt;
    int sum = 0; // the check digit makes it a multiple of ten
    for (int i = 0; i < length; ++i)
        sum += code[i].digitValue() * (i % 2 == 0 ? 1 : 3);
    return WeightCode{.articul = code.sliced(weightPrefixLength, part),
                      .grams = code.sliced(weightPrefixLength + part, part).toInt(),
                      .isGenuine = sum % 10 == 0};
}

} // namespace till
