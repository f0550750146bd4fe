#include "till/conformance/report.h"

#include "till/cli/texttable.h"

#include <QJsonArray>
#include <QJsonObject>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace till::conformance {

int Report::count(Verdict verdict) const
{
    return static_cast<int>(std::count_if(rows.begin(), rows.end(),
                                          [verdict](const Row& row) { return row.verdict == verdict; }));
}

bool Report::isWell() const { return count(Verdict::Differs) == 0 && leftovers.isEmpty() && !interrupted; }

namespace {

Console::Colour colourOf(Verdict verdict)
{
    return verdict == Verdict::Kept      ? Console::Colour::Green
           : verdict == Verdict::Differs ? Console::Colour::Red
                                         : Console::Colour::Yellow;
}

bool lacksBalance(const Report& report)
{
    return std::any_of(report.rows.begin(), report.rows.end(), [](const Row& row) {
        return row.promise->id == u"balance"_s && row.verdict == Verdict::Differs;
    });
}

} // namespace

void print(const Report& report, Console& console, bool all)
{
    QList<QStringList> cells;
    for (const Row& row : report.rows)
        cells.append({verdictText(row.verdict), row.promise->id, row.promise->sentence});
    const QStringList lines = aligned(cells);
    const QString indent(4, u' ');
    for (qsizetype i = 0; i < lines.size(); ++i) {
        const Row& row = report.rows[i];
        console.line(lines[i], colourOf(row.verdict));
        if (!row.finding.isEmpty()) {
            for (const QString& line : row.finding.split(u'\n'))
                console.line(indent + line);
        }
        if (row.verdict == Verdict::Differs)
            console.line(indent + u"→ "_s + row.promise->meaning);
        if (row.verdict != Verdict::Differs && !all)
            continue;
        for (const QString& line : row.exchanges)
            console.line(indent + u"| "_s + line, Console::Colour::Dim);
    }
    console.line();
    for (const Leftover& left : report.leftovers)
        console.line(u"Not given back: %1 %2"_s.arg(left.operation, left.receipt), Console::Colour::Red);
    if (!report.leftovers.isEmpty() || lacksBalance(report)) {
        console.line(u"Asked of the service in this run:"_s);
        for (const QString& line : report.moved)
            console.line(indent + line);
    }
    if (report.interrupted)
        console.line(u"Interrupted: what was done by then is taken back"_s, Console::Colour::Yellow);
    console.line(u"%1 kept, %2 differ, %3 not judged"_s.arg(report.count(Verdict::Kept))
                     .arg(report.count(Verdict::Differs))
                     .arg(report.count(Verdict::Open)),
                 Console::Colour::Bold);
}

QJsonDocument reportJson(const Report& report)
{
    QJsonArray rows;
    for (const Row& row : report.rows)
        rows.append(QJsonObject{{u"id"_s, row.promise->id},
                                {u"promise"_s, row.promise->sentence},
                                {u"verdict"_s, verdictText(row.verdict)},
                                {u"finding"_s, row.finding},
                                {u"meaning"_s, row.promise->meaning},
                                {u"exchanges"_s, QJsonArray::fromStringList(row.exchanges)}});
    QJsonArray leftovers;
    for (const Leftover& left : report.leftovers)
        leftovers.append(QJsonObject{{u"operation"_s, left.operation}, {u"receipt"_s, left.receipt}});
    return QJsonDocument(QJsonObject{{u"ok"_s, report.isWell()},
                                     {u"service"_s, report.service},
                                     {u"card"_s, report.card},
                                     {u"kept"_s, report.count(Verdict::Kept)},
                                     {u"differs"_s, report.count(Verdict::Differs)},
                                     {u"not_judged"_s, report.count(Verdict::Open)},
                                     {u"interrupted"_s, report.interrupted},
                                     {u"promises"_s, rows},
                                     {u"not_given_back"_s, leftovers},
                                     {u"asked"_s, QJsonArray::fromStringList(report.moved)}});
}

} // namespace till::conformance
