#include "till/scenario/reporter.h"

#include <gmock/gmock.h>

using namespace Qt::StringLiterals;

namespace till {

TEST(TillTextReporter, ControlCharactersOfTheServiceDoNotReachTheTerminal)
{
    QString shown;
    QTextStream out(&shown);
    TextReporter reporter(out, false);
    reporter.step({.number = 1,
                   .name = u"identifyByCard"_s,
                   .mayFail = false,
                   .outcome = {.ok = false,
                               .error = u"a\x1b[2Jb\nc"_s,
                               .screen = {u"d\x7f\x9b"
                                          u"e"_s}},
                   .dialogs = {{.title = u"f\r"_s, .items = {u"g\t"_s}, .chosen = 0}},
                   .points = 0,
                   .balance = {},
                   .impacts = {},
                   .queued = 0,
                   .trace = {{LogLevel::Info, u"kyrloyalty"_s, {u"h\x1b"_s}}}});
    EXPECT_EQ(shown.toStdString(), "✗  1 identifyByCard\n"
                                   "     [f\uFFFD]\n"
                                   "     ▸ 1. g\uFFFD\n"
                                   "     d\uFFFD\uFFFDe\n"
                                   "     a\uFFFD[2Jb\n"
                                   "     c\n"
                                   "          info     h\uFFFD\n"
                                   "\n");
}

TEST(TillTextReporter, CountsOneStepInTheSingular)
{
    for (const auto& [steps, counted] :
         {std::pair(1, "s.json: 1 step, 0 failed\n\n"), std::pair(0, "s.json: 0 steps, 0 failed\n\n"),
          std::pair(2, "s.json: 2 steps, 0 failed\n\n")}) {
        QString shown;
        QTextStream out(&shown);
        Summary summary;
        summary.fileName = u"s.json"_s;
        TextReporter(out, false).end(summary, {.steps = steps});
        EXPECT_EQ(shown.toStdString(), counted);
    }
}

} // namespace till
