#include "host/utils/masking.h"

#include "host/utils/codepoint.h"

#include <QList>
#include <QRegularExpression>

#include <algorithm>
#include <array>

using namespace Qt::StringLiterals;

namespace utils {

namespace {

constexpr qsizetype longestShown = 6;
constexpr qsizetype charactersLeft = 4;
constexpr int mostBetween = 3; // separators between two digits, as in "7 ( 900 ) 123"

bool isDigit(char32_t character) { return QChar::digitValue(character) >= 0; }

/// What people write between the digits of a number, or what hides there.
bool isSeparator(char32_t character)
{
    static const QList<char32_t> others{U'.', U'/', U'\\', U'(', U')', U'·', U'•', U'−', U'\uFFFD'};
    switch (QChar::category(character)) {
    case QChar::Separator_Space:
    case QChar::Separator_Line:
    case QChar::Separator_Paragraph:
    case QChar::Mark_NonSpacing: // of digits on keys, above all
    case QChar::Mark_Enclosing:
    case QChar::Punctuation_Dash:
    case QChar::Punctuation_Connector:
    case QChar::Other_Format:
        return true;
    case QChar::Other_Control:
        return character != U'\n';
    default:
        return others.contains(character);
    }
}

/// How many units the separator takes that begins there; 0 when there is none. In an address it may be
/// written as "%20".
qsizetype separatorAt(QStringView text, qsizetype at)
{
    const auto isHex = [&](qsizetype place) {
        return place < text.size() && text[place].unicode() < 0x80 && isxdigit(text[place].unicode()) != 0;
    };
    if (text[at] == u'%' && isHex(at + 1) && isHex(at + 2))
        return 3;
    const CodePoint point = codePointAt(text, at);
    return isSeparator(point.value) ? point.units : 0;
}

/// Digits that belong together.
struct Number
{
    QList<QStringView> digits;
    qsizetype end = 0; ///< behind the last digit
};

Number numberFrom(QStringView text, qsizetype begin)
{
    Number number;
    int between = 0;
    for (qsizetype at = begin; at < text.size() && between <= mostBetween;) {
        const CodePoint point = codePointAt(text, at);
        if (isDigit(point.value)) {
            number.digits.append(text.sliced(at, point.units));
            number.end = at + point.units;
            between = 0;
            at = number.end;
            continue;
        }
        const qsizetype units = separatorAt(text, at);
        if (units == 0)
            break;
        ++between;
        at += units;
    }
    return number;
}

/// Whether the digits are plainly no customer's number; `ahead` goes on behind them.
bool isPlainlyElse(const QString& number, const QString& ahead)
{
    const auto pattern = [](const QString& text) { return QRegularExpression(u"\\A(?:%1)"_s.arg(text)); };
    static const QString month = u"(?:0[1-9]|1[0-2])"_s;
    static const QString day = u"(?:0[1-9]|[12]\\d|3[01])"_s;
    static const QString year = u"(?:19|20)\\d\\d"_s;
    static const QString hour = u"(?:[01]\\d|2[0-3])"_s;
    static const QString beforeTime = u"(?: +"_s + hour + u"(?=:\\d\\d))?"_s;
    static const QString octet = u"(?:25[0-5]|2[0-4]\\d|1\\d\\d|[1-9]?\\d)"_s;
    static const std::array<QRegularExpression, 6> kinds{
        pattern(year + u"([-./])"_s + month + u"\\1"_s + day + beforeTime),
        pattern(day + u"([-./])"_s + month + u"\\1"_s + year + beforeTime),
        pattern(u"(?:20)?\\d\\d"_s + month + day + u"(?:-"_s + hour + u"[0-5]\\d[0-5]\\d|(?=T\\d))"_s),
        pattern(u"(?:"_s + octet + u"\\.){3}"_s + octet),
        pattern(u"\\d{1,6}\\.\\d\\d?"_s),
        pattern(u"\\d{1,3}(?:[ \\x{A0}\\x{2009}\\x{202F}]\\d{3})+(?:\\.\\d\\d|(?=,\\d\\d(?!\\d)))"_s),
    };
    return std::any_of(kinds.begin(), kinds.end(), [&](const QRegularExpression& kind) {
        return kind.match(number + ahead).capturedEnd() == number.size();
    });
}

QString masked(const QList<QStringView>& characters)
{
    QString text(u'…');
    for (const QStringView character : characters.last(charactersLeft))
        text += character;
    return text;
}

QString maskedPiece(const QString& text)
{
    constexpr qsizetype farthest = 4; // that isPlainlyElse looks ahead
    QString result;
    result.reserve(text.size());
    for (qsizetype at = 0; at < text.size();) {
        const CodePoint point = codePointAt(text, at);
        if (!isDigit(point.value)) {
            result += QStringView(text).sliced(at, point.units);
            at += point.units;
            continue;
        }
        const Number number = numberFrom(text, at);
        const QString whole = text.sliced(at, number.end - at);
        const bool isShown = number.digits.size() <= longestShown ||
                             (!result.endsWith(u'+') && isPlainlyElse(whole, text.mid(number.end, farthest)));
        result += isShown ? whole : masked(number.digits);
        at = number.end;
    }
    return result;
}

} // namespace

QString maskNumbers(const QString& text)
{
    // A UUID, which digits alone are not, and a port in front of a path.
    static const QRegularExpression known(
        u"\\b(?=[\\d-]{0,35}[a-fA-F])[\\da-fA-F]{8}(?:-[\\da-fA-F]{4}){3}-[\\da-fA-F]{12}\\b|(?<=:)\\d{1,5}(?=/)"_s);
    QString result;
    qsizetype at = 0;
    for (auto matches = known.globalMatch(text); matches.hasNext();) {
        const QRegularExpressionMatch match = matches.next();
        result += maskedPiece(text.sliced(at, match.capturedStart() - at)) + match.captured();
        at = match.capturedEnd();
    }
    return result + maskedPiece(text.sliced(at));
}

QString maskWhole(const QString& number)
{
    QList<QStringView> characters;
    for (qsizetype at = 0; at < number.size();) {
        const CodePoint point = codePointAt(number, at);
        if (QChar::isLetterOrNumber(point.value))
            characters.append(QStringView(number).sliced(at, point.units));
        at += point.units;
    }
    if (characters.size() > longestShown)
        return masked(characters);
    return number.isEmpty() ? QString() : u"…"_s;
}

QString maskPath(const QString& path)
{
    static const QRegularExpression known(u"(?<=/card/|/phone/)[^/]+"_s);
    QString result;
    qsizetype at = 0;
    for (auto numbers = known.globalMatch(path); numbers.hasNext();) {
        const QRegularExpressionMatch match = numbers.next();
        result += maskNumbers(path.sliced(at, match.capturedStart() - at)) + maskWhole(match.captured());
        at = match.capturedEnd();
    }
    return result + maskNumbers(path.sliced(at));
}

} // namespace utils
