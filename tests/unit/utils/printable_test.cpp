#include "host/utils/printable.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;
using utils::printable;
using utils::printableJson;
using utils::printableLines;

namespace {

// First and last of each run that a terminal, a window or a file of lines must not get.
const QList<std::pair<char32_t, char32_t>> dangerous{
    {0x00, 0x1F},                       // C0: ESC, BEL, NUL, CR, LF and so on
    {0x7F, 0x9F},                       // DEL and C1
    {0x61C, 0x61C},                     // Arabic letter mark
    {0x180E, 0x180E},                   // a vowel separator that shows nothing
    {0x200B, 0x200B},                   // zero width
    {0x200E, 0x200F},                   // marks of direction
    {0x2028, 0x2029},                   // line and paragraph separators
    {0x202A, 0x202E},                   // embeddings and overrides of direction
    {0x2060, 0x2064}, {0x2066, 0x206F}, // isolates
    {0xD800, 0xDFFF},                   // halves of surrogate pairs
    {0xFEFF, 0xFEFF}, {0xFFF9, 0xFFFB}, {0xE0001, 0xE0001}, {0xE0020, 0xE007F}, // tags, a hidden alphabet
};

// Some from everywhere else: letters, joiners, a soft hyphen, marks, signs, an ideograph, beyond 16 bits.
const QList<char32_t> harmless{U' ',   U'~',   0xA0,   0xAD,   0x301,   U'ж',    U'א',    U'ا',
                               0x200C, 0x200D, 0x2010, 0x202F, 0x205F,  U'₽',  0x2800,  U'漢',
                               0xE000, 0xFE0F, 0xFFFC, 0xFFFD, 0x1F381, 0x20000, 0x10FFFD};

QString textOf(char32_t character)
{
    // A half of a pair is no character, so it is put in as it is.
    return character <= 0xFFFF ? QString(QChar(static_cast<char16_t>(character)))
                               : QString::fromUcs4(&character, 1);
}

std::string hex(char32_t character) { return QString::number(uint{character}, 16).toStdString(); }

template <class Look>
void forEachDangerous(Look look)
{
    for (const auto& [first, last] : dangerous) {
        for (char32_t character = first; character <= last; ++character)
            look(character);
    }
}

} // namespace

TEST(Printable, ShowsEachDangerousCharacterAsReplaced)
{
    forEachDangerous([](char32_t character) {
        EXPECT_EQ(printable(u"a"_s + textOf(character) + u"b"_s), u"a\uFFFDb"_s) << hex(character);
    });
}

TEST(Printable, LeavesEveryOtherCharacterAsItIs)
{
    for (const char32_t character : harmless) {
        const QString text = u"a"_s + textOf(character) + u"b"_s;
        EXPECT_EQ(printable(text), text) << hex(character);
        EXPECT_EQ(printableLines(text), text) << hex(character);
    }
    EXPECT_EQ(printable({}), QString());
}

TEST(Printable, LinesKeepTheirLineFeedsBehindAnIndent)
{
    EXPECT_EQ(printableLines(u"one\ntwo\r\n\x1b[2Jthree"_s, u"    "_s),
              u"one\n    two\uFFFD\n    \uFFFD[2Jthree"_s);
    EXPECT_EQ(printableLines(u"one\n\ntwo\n"_s), u"one\n\ntwo\n"_s);
    forEachDangerous([](char32_t character) {
        if (character != U'\n') {
            EXPECT_EQ(printableLines(u"a"_s + textOf(character) + u"b"_s), u"a\uFFFDb"_s) << hex(character);
        }
    });
}

TEST(Printable, JsonKeepsItsValueInPrintableCharacters)
{
    forEachDangerous([](char32_t character) {
        const QJsonArray value{u"a"_s + textOf(character) + u"b"_s};
        const QString json = printableJson(QJsonDocument(value).toJson(QJsonDocument::Compact));
        EXPECT_EQ(printable(json), json) << hex(character);
        EXPECT_EQ(QJsonDocument::fromJson(json.toUtf8()).array(), value) << hex(character);
    });
}

TEST(Printable, JsonKeepsTheLinesBetweenItsValues)
{
    const QByteArray json = QJsonDocument(QJsonObject{{u"a"_s, u"1\n2"_s}}).toJson();
    EXPECT_EQ(printableJson(json).toUtf8(), json);
    EXPECT_EQ(printableJson("[\"\xc2\x9b\xf3\xa0\x80\x81\"]"), u"[\"\\u009b\\udb40\\udc01\"]"_s);
}
