#include "tests/journey/window/colours.h"

#include <algorithm>
#include <cmath>

namespace windowtest {

namespace {

double luminance(const QColor& colour)
{
    const auto part = [](double value) {
        return value <= 0.04045 ? value / 12.92 : std::pow((value + 0.055) / 1.055, 2.4);
    };
    return 0.2126 * part(colour.redF()) + 0.7152 * part(colour.greenF()) + 0.0722 * part(colour.blueF());
}

} // namespace

double contrast(const QColor& one, const QColor& other)
{
    const double a = luminance(one);
    const double b = luminance(other);
    return (std::max(a, b) + 0.05) / (std::min(a, b) + 0.05);
}

} // namespace windowtest
