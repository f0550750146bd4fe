#include "client/compactjson.h"

#include <QJsonArray>
#include <QJsonObject>

#include <array>
#include <charconv>
#include <cmath>

namespace json {

namespace {

void write(QByteArray& json, const QVariant& value);

// Each member of an object or list is written with a comma behind it; here the last one's becomes the
// bracket.
void close(QByteArray& json, char bracket)
{
    if (json.endsWith(','))
        json.back() = bracket;
    else
        json.append(bracket);
}

// What occurs too seldom to have a way of its own. In a list, for a document is never a bare value.
void writeByQt(QByteArray& json, const QVariant& value)
{
    const auto list = QJsonDocument::fromVariant(QVariantList{value}).toJson(QJsonDocument::Compact);
    json.append(QByteArrayView(list).sliced(1).chopped(1));
}

template <class Number>
void writeDigits(QByteArray& json, Number number)
{
    std::array<char, 32> digits{}; // no double takes more than 24, no qint64 more than 20
    char* const begin = digits.data();
    json.append(begin, std::to_chars(begin, begin + digits.size(), number).ptr - begin);
}

void write(QByteArray& json, int number) { writeDigits(json, number); }

void write(QByteArray& json, double number)
{
    const bool isWhole = std::trunc(number) == number;
    if (isWhole && std::abs(number) < 0x1p53)
        writeDigits(json, static_cast<qint64>(number)); // -0.0 too is 0
    else if (isWhole || !std::isfinite(number))
        writeByQt(json, number); // Qt has a form of its own for those that no longer count by ones
    else
        writeDigits(json, number);
}

char* writeEscape(char16_t unit, char* to)
{
    *to++ = '\\';
    switch (unit) {
    case u'"':
    case u'\\':
        *to++ = static_cast<char>(unit);
        break;
    case u'\b':
        *to++ = 'b';
        break;
    case u'\f':
        *to++ = 'f';
        break;
    case u'\n':
        *to++ = 'n';
        break;
    case u'\r':
        *to++ = 'r';
        break;
    case u'\t':
        *to++ = 't';
        break;
    default:
        *to++ = 'u';
        for (const int shift : {12, 8, 4, 0})
            *to++ = "0123456789abcdef"[unit >> shift & 0xf];
    }
    return to;
}

// UTF-8, with `continuations` bytes of six bits behind the first.
char* writeUtf8(char32_t character, unsigned firstBits, int continuations, char* to)
{
    *to++ = static_cast<char>(firstBits | character >> 6 * continuations);
    while (continuations-- > 0)
        *to++ = static_cast<char>(0x80 | (character >> 6 * continuations & 0x3f));
    return to;
}

void write(QByteArray& json, QStringView text)
{
    constexpr qsizetype longestUnit = 6; // an escape: \u0001
    const qsizetype before = json.size();
    json.resize(before + longestUnit * text.size() + 2);
    char* to = json.data() + before;
    *to++ = '"';
    const char16_t* const end = text.utf16() + text.size();
    for (const char16_t* at = text.utf16(); at != end; ++at) {
        const char16_t unit = *at;
        if (unit < 0x80) {
            if (unit < 0x20 || unit == u'"' || unit == u'\\')
                to = writeEscape(unit, to);
            else
                *to++ = static_cast<char>(unit);
        } else if (unit < 0x800) {
            to = writeUtf8(unit, 0xc0, 1, to);
        } else if (!QChar::isSurrogate(unit)) {
            to = writeUtf8(unit, 0xe0, 2, to);
        } else if (QChar::isHighSurrogate(unit) && at + 1 != end && QChar::isLowSurrogate(at[1])) {
            to = writeUtf8(QChar::surrogateToUcs4(unit, at[1]), 0xf0, 3, to);
            ++at;
        } else {
            to = writeEscape(unit, to); // half a character: UTF-8 has no form for it
        }
    }
    *to++ = '"';
    json.resize(to - json.constData());
}

void write(QByteArray& json, const QString& text) { write(json, QStringView(text)); }

template <class Value>
void writeMember(QByteArray& json, QStringView key, const Value& value)
{
    write(json, key);
    json.append(':');
    write(json, value);
    json.append(',');
}

void write(QByteArray& json, const QVariantMap& object)
{
    json.append('{');
    for (auto member = object.cbegin(); member != object.cend(); ++member)
        writeMember(json, member.key(), member.value());
    close(json, '}');
}

void write(QByteArray& json, const QVariantList& list)
{
    json.append('[');
    for (const QVariant& value : list) {
        write(json, value);
        json.append(',');
    }
    close(json, ']');
}

void write(QByteArray& json, const QVariant& value)
{
    switch (value.typeId()) {
    case QMetaType::QString:
        return write(json, value.toString());
    case QMetaType::Int:
        return write(json, value.toInt());
    case QMetaType::Double:
        return write(json, value.toDouble());
    case QMetaType::QVariantMap:
        return write(json, value.toMap());
    case QMetaType::QVariantList:
        return write(json, value.toList());
    default:
        writeByQt(json, value);
    }
}

} // namespace

QByteArray compact(const QVariantMap& object)
{
    QByteArray json;
    write(json, object);
    return json;
}

QByteArray compact(const std::vector<Object>& list)
{
    QByteArray json("[");
    for (const Object& object : list) {
        json.append('{');
        for (const auto& [key, value] : object)
            std::visit([&, key = key](const auto& typed) { writeMember(json, key, typed); }, value);
        close(json, '}');
        json.append(',');
    }
    close(json, ']');
    return json;
}

QJsonDocument document(const std::vector<Object>& list)
{
    QJsonArray array;
    for (const Object& object : list) {
        QJsonObject members;
        for (const auto& [key, value] : object)
            std::visit([&, key = key](const auto& typed) { members.insert(key, typed); }, value);
        array.append(members);
    }
    return QJsonDocument(array);
}

} // namespace json
