#include "till/aligned.h"

#include "till/screen.h"

#include <algorithm>

using namespace Qt::StringLiterals;

namespace till {

QStringList aligned(const QList<QStringList>& rows, const QSet<qsizetype>& right)
{
    QList<qsizetype> widths;
    for (const QStringList& row : rows) {
        widths.resize(std::max(widths.size(), row.size()));
        for (qsizetype i = 0; i < row.size(); ++i)
            widths[i] = std::max(widths[i], screen::width(row[i]));
    }
    QStringList lines;
    for (const QStringList& row : rows) {
        QString line;
        for (qsizetype i = 0; i < row.size(); ++i) {
            const QString blanks = QString().leftJustified(widths[i] - screen::width(row[i]));
            line += (i > 0 ? u"  "_s : QString()) + (right.contains(i) ? blanks + row[i] : row[i] + blanks);
        }
        while (line.endsWith(u' '))
            line.chop(1);
        lines.append(line);
    }
    return lines;
}

} // namespace till
