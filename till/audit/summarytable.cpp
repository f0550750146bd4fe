#include "till/audit/summarytable.h"

#include "till/checkout/screen.h"
#include "till/cli/texttable.h"

#include <cstdint>

using namespace Qt::StringLiterals;

namespace till {

namespace {

QString points(std::int64_t hundredths) { return screen::amount(static_cast<double>(hundredths) / 100); }

QStringList cells(const QString& name, const Summary& summary)
{
    QString waiting = QString::number(summary.waiting);
    if (summary.parked > 0)
        waiting += u" + %1 refused"_s.arg(summary.parked);
    return {name,
            QString::number(summary.receipts),
            points(summary.spent),
            points(summary.earned),
            QString::number(summary.queued),
            QString::number(summary.delivered),
            waiting,
            ledgerText(summary)};
}

void add(Summary& total, const Summary& summary)
{
    total.receipts += summary.receipts;
    total.spent += summary.spent;
    total.earned += summary.earned;
    total.queued += summary.queued;
    total.delivered += summary.delivered;
    total.waiting += summary.waiting;
    total.parked += summary.parked;
    if (!summary.differences)
        return;
    if (!total.differences)
        total.differences = QStringList();
    *total.differences += *summary.differences;
}

} // namespace

QStringList summaryTable(const QList<Summary>& summaries)
{
    QList<QStringList> rows{{u"file"_s, u"receipts"_s, u"spent"_s, u"earned"_s, u"queued"_s, u"delivered"_s,
                             u"waiting"_s, u"ledger"_s}};
    Summary total;
    for (const Summary& summary : summaries) {
        rows.append(cells(summary.fileName, summary));
        add(total, summary);
    }
    rows.append(cells(u"total"_s, total));

    // Names stand left, numbers right.
    return aligned(rows, {1, 2, 3, 4, 5, 6});
}

QString ledgerText(const Summary& summary)
{
    if (!summary.differences)
        return u"—"_s;
    return summary.differences->isEmpty() ? u"agrees"_s : u"differs"_s;
}

} // namespace till
