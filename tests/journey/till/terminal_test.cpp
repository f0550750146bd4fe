#include "tests/journey/till/tillprocess.h"

#include <gmock/gmock.h>

#include <array>
#include <cstdlib>

#include <fcntl.h>
#include <unistd.h>

using namespace Qt::StringLiterals;
using ::testing::HasSubstr;
using ::testing::Not;

namespace tilltest {

namespace {

const QString tour = QStringLiteral(SCENARIOS "/01-identify.json");

/// What the till shows on a terminal.
std::string shownOnTerminal(const QProcessEnvironment& environment)
{
    const int screen = posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC);
    if (screen < 0 || grantpt(screen) != 0 || unlockpt(screen) != 0)
        return {};
    const int line = open(ptsname(screen), O_RDWR | O_NOCTTY | O_CLOEXEC);
    QProcess till;
    till.setProcessEnvironment(environment);
    till.setChildProcessModifier([line] { dup2(line, STDOUT_FILENO); });
    start(till, {u"run"_s, tour});
    till.waitForStarted(patienceMs);
    close(line); // so that reading ends with the till

    std::string shown;
    std::array<char, 4096> piece{};
    for (ssize_t size = 0; (size = read(screen, piece.data(), piece.size())) > 0;)
        shown.append(piece.data(), static_cast<std::size_t>(size));
    till.waitForFinished(patienceMs);
    close(screen);
    return shown;
}

} // namespace

TEST(TillTerminal, ColoursAreForTerminals)
{
    auto environment = QProcessEnvironment::systemEnvironment();
    environment.remove(u"NO_COLOR"_s);
    environment.insert(u"TERM"_s, u"xterm"_s);
    EXPECT_THAT(shownOnTerminal(environment), HasSubstr("\x1b[32m✓\x1b[0m"));
    EXPECT_THAT(run({u"run"_s, tour}).out.toStdString(), Not(HasSubstr("\x1b")));
}

TEST(TillTerminal, NoColorAndATerminalThatKnowsNoneAreRespected)
{
    for (const QString& variable : {u"NO_COLOR=1"_s, u"TERM=dumb"_s}) {
        auto environment = QProcessEnvironment::systemEnvironment();
        environment.remove(u"NO_COLOR"_s);
        environment.insert(u"TERM"_s, u"xterm"_s);
        environment.insert(variable.section(u'=', 0, 0), variable.section(u'=', 1));
        const std::string shown = shownOnTerminal(environment);
        EXPECT_THAT(shown, HasSubstr("✓"));
        EXPECT_THAT(shown, Not(HasSubstr("\x1b"))) << variable.toStdString();
    }
}

TEST(TillTerminal, SpeaksUtf8InAnyLocale)
{
    QProcess till;
    auto environment = QProcessEnvironment::systemEnvironment();
    environment.insert(u"LC_ALL"_s, u"C"_s);
    till.setProcessEnvironment(environment);
    start(till, {u"run"_s, tour});
    ASSERT_TRUE(till.waitForFinished(patienceMs));
    EXPECT_EQ(till.readAllStandardOutput(), run({u"run"_s, tour}).out);
}

} // namespace tilltest
