#pragma once

#include <QStringView>

namespace utils {

/// One character of a text, which takes one or two of its units.
struct CodePoint
{
    char32_t value; ///< of a lone surrogate: the surrogate
    qsizetype units;
};

/// The character that begins at this place, which is within the text.
inline CodePoint codePointAt(QStringView text, qsizetype at)
{
    const QChar first = text[at];
    const bool isPair = first.isHighSurrogate() && at + 1 < text.size() && text[at + 1].isLowSurrogate();
    return isPair ? CodePoint{QChar::surrogateToUcs4(first, text[at + 1]), 2} : CodePoint{first.unicode(), 1};
}

} // namespace utils
