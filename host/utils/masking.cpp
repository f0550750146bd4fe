#include "host/utils/masking.h"

#include <algorithm>

namespace utils {

namespace {

constexpr qsizetype longestShown = 6;
constexpr qsizetype digitsLeft = 4;

} // namespace

QString maskNumbers(const QString& text)
{
    QString masked;
    masked.reserve(text.size());
    const auto isDigit = [](QChar c) { return c.isDigit(); };
    for (auto at = text.cbegin(); at != text.cend();) {
        const auto runBegin = std::find_if(at, text.cend(), isDigit);
        const auto runEnd = std::find_if_not(runBegin, text.cend(), isDigit);
        masked.append(at, runBegin - at);
        if (runEnd - runBegin > longestShown)
            masked.append(u'…').append(runEnd - digitsLeft, digitsLeft);
        else
            masked.append(runBegin, runEnd - runBegin);
        at = runEnd;
    }
    return masked;
}

} // namespace utils
