#include "host/utils/printable.h"

#include "host/utils/codepoint.h"

#include <QStringList>

using namespace Qt::StringLiterals;

namespace utils {

namespace {

bool isPrintable(char32_t character)
{
    constexpr char32_t softHyphen = 0xAD;
    constexpr char32_t nonJoiner = 0x200C;
    constexpr char32_t joiner = 0x200D;
    switch (QChar::category(character)) {
    case QChar::Other_Control:
    case QChar::Other_Surrogate:
    case QChar::Separator_Line:
    case QChar::Separator_Paragraph:
        return false;
    case QChar::Other_Format:
        return character == softHyphen || character == nonJoiner || character == joiner;
    default:
        return true;
    }
}

/// The text with what `shown` makes of each piece that is not printable.
template <class Shown>
QString replaced(QStringView text, Shown shown)
{
    QString result;
    result.reserve(text.size());
    for (qsizetype at = 0; at < text.size();) {
        const CodePoint point = codePointAt(text, at);
        const QStringView piece = text.sliced(at, point.units);
        if (isPrintable(point.value))
            result += piece;
        else
            result += shown(piece);
        at += point.units;
    }
    return result;
}

QString replacement(QStringView /*piece*/) { return {QChar::ReplacementCharacter}; }

QString escaped(QStringView piece)
{
    if (piece == u"\n")
        return piece.toString();
    QString escapes;
    for (const QChar unit : piece)
        escapes += u"\\u"_s + QString::number(unit.unicode(), 16).rightJustified(4, u'0');
    return escapes;
}

} // namespace

QString printable(const QString& text) { return replaced(text, replacement); }

QString printableLines(const QString& text, const QString& indent)
{
    QStringList lines;
    for (const QStringView line : QStringView(text).split(u'\n'))
        lines.append(replaced(line, replacement));
    return lines.join(u'\n' + indent);
}

QString printableJson(const QByteArray& json) { return replaced(QString::fromUtf8(json), escaped); }

} // namespace utils
