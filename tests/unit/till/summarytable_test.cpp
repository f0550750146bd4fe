#include "till/audit/summarytable.h"

#include <gmock/gmock.h>

using namespace Qt::StringLiterals;

namespace till {

TEST(TillSummaryTable, NumbersStandBelowEachOtherAndAddUp)
{
    const QList<Summary> summaries{{.fileName = u"a.json"_s,
                                    .receipts = 12,
                                    .spent = 123450,
                                    .earned = 5,
                                    .queued = 3,
                                    .delivered = 1,
                                    .waiting = 1,
                                    .parked = 1,
                                    .differences = QStringList{u"x"_s}},
                                   {.fileName = u"b.json"_s, .receipts = 1, .spent = -250}};
    EXPECT_EQ(summaryTable(summaries).join(u'\n').toStdString(),
              "file    receipts     spent  earned  queued  delivered        waiting  ledger\n"
              "a.json        12  1 234,50    0,05       3          1  1 + 1 refused  differs\n"
              "b.json         1     −2,50    0,00       0          0              0  —\n"
              "total         13  1 232,00    0,05       3          1  1 + 1 refused  differs");
}

} // namespace till
