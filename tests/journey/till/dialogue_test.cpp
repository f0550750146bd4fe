#include "host/queue/messagequeue.h"
#include "host/storage/datadirectory.h"
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

/// A till at a terminal, with one message that the service refused.
class TillDialogue : public testing::Test
{
protected:
    TillDialogue()
    {
        storage::setDataDirectory(directory);
        MessageQueue queue;
        id = queue.enqueue(u"kyrloyalty"_s, u"R-1"_s, {{u"method"_s, u"POST"_s}}, u"text"_s);
        queue.park(id, {.code = 422, .error = u"refused"_s, .milliseconds = 1});
        storage::setDataDirectory({});
    }

    /// All that the terminal shows while that is typed.
    std::string shown(const QStringList& arguments, const QByteArray& typed)
    {
        const int screen = posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC);
        if (screen < 0 || grantpt(screen) != 0 || unlockpt(screen) != 0)
            return "no pseudo-terminals here";
        const int line = open(ptsname(screen), O_RDWR | O_NOCTTY | O_CLOEXEC);
        QProcess till;
        till.setChildProcessModifier([line] {
            dup2(line, STDIN_FILENO);
            dup2(line, STDOUT_FILENO);
            dup2(line, STDERR_FILENO);
        });
        start(till, arguments + QStringList{u"--data-dir"_s, directory});
        till.waitForStarted(patienceMs);
        close(line); // so that reading ends with the till
        EXPECT_EQ(write(screen, typed.constData(), static_cast<std::size_t>(typed.size())), typed.size());

        std::string text;
        std::array<char, 4096> piece{};
        for (ssize_t size = 0; (size = read(screen, piece.data(), piece.size())) > 0;)
            text.append(piece.data(), static_cast<std::size_t>(size));
        till.waitForFinished(patienceMs);
        status = till.exitCode();
        close(screen);
        return text;
    }

    [[nodiscard]] bool isQueued() const
    {
        storage::setDataDirectory(directory);
        const bool found = MessageQueue().find(id).has_value();
        storage::setDataDirectory({});
        return found;
    }

    const Files files;
    const QString directory = files.path(u"data"_s);
    qint64 id = 0;
    int status = -1;
};

} // namespace

TEST_F(TillDialogue, AsksBeforeAMessageIsDropped)
{
    const QStringList drop{u"queue"_s, u"drop"_s, QString::number(id)};
    EXPECT_THAT(shown(drop, "n\n"), HasSubstr("Drop message 1? The service will never get it. [y/N] "));
    EXPECT_EQ(status, 2);
    EXPECT_TRUE(isQueued());
    EXPECT_THAT(shown(drop, "y\n"), HasSubstr("message 1 is dropped"));
    EXPECT_EQ(status, 0);
    EXPECT_FALSE(isQueued());
}

TEST_F(TillDialogue, TheShellTellsAnAlarmOnceBeforeItsPrompt)
{
    const std::string text = shown({u"shell"_s}, "nonsense\nquit\n");
    const std::string alarm =
        "! Сообщений, которые не удастся отправить службе лояльности: 1. Сообщите администратору\r\n";
    const std::size_t first = text.find(alarm + "till> ");
    ASSERT_NE(first, std::string::npos) << text;
    EXPECT_THAT(text.substr(first + alarm.size()), Not(HasSubstr(alarm)));
}

TEST_F(TillDialogue, TheSummaryOfARunTellsAlarms)
{
    const QString scenario = files.write(u"s.json"_s, R"({ "steps": [] })");
    const Ran ran = run({u"run"_s, scenario, u"--data-dir"_s, directory});
    EXPECT_THAT(
        ran.out.toStdString(),
        HasSubstr(
            "\nСообщений, которые не удастся отправить службе лояльности: 1. Сообщите администратору\n"));
}

} // namespace tilltest
