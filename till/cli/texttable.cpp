#include "till/cli/texttable.h"

#include <algorithm>
#include <clocale>
#include <cwchar>

using namespace Qt::StringLiterals;

namespace till {

namespace {

/// What is written is UTF-8 whatever the environment says; the C library measures by the thread's locale.
class Utf8Locale
{
public:
    Utf8Locale()
    {
        static const locale_t utf8 = newlocale(LC_CTYPE_MASK, "C.UTF-8", nullptr);
        m_before = uselocale(utf8);
    }
    ~Utf8Locale() { uselocale(m_before); }
    Utf8Locale(const Utf8Locale&) = delete;
    Utf8Locale& operator=(const Utf8Locale&) = delete;

private:
    locale_t m_before;
};

} // namespace

QStringList aligned(const QList<QStringList>& rows, const QSet<qsizetype>& right)
{
    QList<qsizetype> widths;
    for (const QStringList& row : rows) {
        widths.resize(std::max(widths.size(), row.size()));
        for (qsizetype i = 0; i < row.size(); ++i)
            widths[i] = std::max(widths[i], textWidth(row[i]));
    }
    QStringList lines;
    for (const QStringList& row : rows) {
        QString line;
        for (qsizetype i = 0; i < row.size(); ++i) {
            const QString blanks = QString().leftJustified(widths[i] - textWidth(row[i]));
            line += (i > 0 ? u"  "_s : QString()) + (right.contains(i) ? blanks + row[i] : row[i] + blanks);
        }
        while (line.endsWith(u' '))
            line.chop(1);
        lines.append(line);
    }
    return lines;
}

qsizetype textWidth(const QString& text)
{
    const Utf8Locale locale;
    qsizetype columns = 0;
    for (const uint character : text.toUcs4()) {
        const int own = wcwidth(static_cast<wchar_t>(character));
        columns += own < 0 ? 1 : own; // unknown to the C library: most are one wide
    }
    return columns;
}

} // namespace till
