#include "till/goods/csv.h"

using namespace Qt::StringLiterals;

namespace till {

namespace {

constexpr QChar quote = u'"';

/// The value of a field that begins with a quote; `at` moves behind the quote that ends it, or to -1.
QString quotedField(QStringView line, qsizetype& at)
{
    QString value;
    for (qsizetype from = at + 1;;) {
        const qsizetype end = line.indexOf(quote, from);
        if (end < 0) {
            at = -1;
            return value;
        }
        value += line.sliced(from, end - from);
        at = end + 1;
        if (at == line.size() || line[at] != quote)
            return value;
        value += quote;
        from = at + 1;
    }
}

qsizetype skipBlanks(QStringView line, qsizetype at, QChar separator)
{
    while (at < line.size() && line[at].isSpace() && line[at] != separator)
        ++at;
    return at;
}

} // namespace

CsvLine splitCsv(QStringView line, QChar separator)
{
    CsvLine split;
    for (qsizetype at = 0; at <= line.size(); ++at) {
        at = skipBlanks(line, at, separator);
        if (at < line.size() && line[at] == quote) {
            const QString value = quotedField(line, at);
            if (at < 0) {
                split.problem = u"the quote is not closed on this line; close it, or leave it away"_s;
                return split;
            }
            at = skipBlanks(line, at, separator);
            if (at < line.size() && line[at] != separator) {
                split.problem =
                    u"text behind the closing quote; double each quote that is part of the text"_s;
                return split;
            }
            split.fields.append(value.trimmed());
            continue;
        }
        const qsizetype next = line.indexOf(separator, at);
        const qsizetype end = next < 0 ? line.size() : next;
        const QStringView value = line.sliced(at, end - at).trimmed();
        if (value.contains(quote)) {
            split.problem =
                u"a quote within the text; put the text in quotes and double those that are part of it"_s;
            return split;
        }
        split.fields.append(value.toString());
        at = end;
    }
    return split;
}

} // namespace till
