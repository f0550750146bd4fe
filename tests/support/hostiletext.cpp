#include "tests/support/hostiletext.h"

#include <QJsonArray>
#include <QJsonDocument>

using namespace Qt::StringLiterals;

namespace test_support {

QString hostileText()
{
    return u"a\x1b[2Jb\x1b]8;;http://e/\ac"_s + QChar(0) +
           u"d\u009B1me\rf\u202Eg\u2028h\u2029i\u2066j\u200Fk\x7Fl<b>m</b>"
           "\n2026-11-21T00:00:00.000Z error   [kyrloyalty] forged"_s;
}

QString hostileTextAsShown()
{
    return u"a\uFFFD[2Jb\uFFFD]8;;http://e/"
           u"\uFFFDc\uFFFDd\uFFFD1me\uFFFDf\uFFFDg\uFFFDh\uFFFDi\uFFFDj\uFFFDk\uFFFD"
           "l<b>m</b>"_s;
}

QByteArray jsonText(const QString& text)
{
    return QJsonDocument(QJsonArray{text}).toJson(QJsonDocument::Compact).chopped(1).sliced(1);
}

std::string unprintableIn(const QByteArray& bytes)
{
    std::string found;
    for (const uint c : QString::fromUtf8(bytes).toUcs4()) {
        const bool isControl = (c < 0x20 && c != '\n') || (c >= 0x7F && c <= 0x9F);
        const bool turnsRound =
            c == 0x200E || c == 0x200F || (c >= 0x202A && c <= 0x202E) || (c >= 0x2066 && c <= 0x2069);
        if (isControl || turnsRound || c == 0x2028 || c == 0x2029)
            found += QString::number(c, 16).toStdString() + ' ';
    }
    return found;
}

} // namespace test_support
