#include "host/queue/messagequeue.h"
#include "host/storage/datadirectory.h"
#include "tests/journey/till/tillprocess.h"

#include <gmock/gmock.h>

#include <array>
#include <csignal>
#include <fcntl.h>
#include <unistd.h>

using namespace Qt::StringLiterals;
using ::testing::HasSubstr;

namespace tilltest {

namespace {

/// A till whose standard output goes where the test wants it.
class TillOutput : public testing::Test
{
protected:
    TillOutput()
    {
        storage::setDataDirectory(directory);
        MessageQueue().enqueue(u"kyrloyalty"_s, u"R-1"_s,
                               {{u"method"_s, u"POST"_s}, {u"url"_s, QUrl(u"http://127.0.0.1:1/v2/a"_s)}},
                               u"a"_s);
        storage::setDataDirectory({});
        EXPECT_EQ(run({u"run"_s, scenario, u"--data-dir"_s, stand}).status, 0) << "leaves books behind";
    }

    /// Every command that says something and ends, each with what it needs.
    [[nodiscard]] QList<QStringList> commands() const
    {
        const QStringList here{u"--data-dir"_s, directory};
        const QStringList away{u"--server-url"_s, u"http://127.0.0.1:1/"_s};
        return {
            {u"--version"_s},
            {u"--help"_s},
            {u"help"_s, u"run"_s},
            QStringList{u"run"_s, scenario} + away,
            QStringList{u"run"_s, scenario, u"--json"_s} + away,
            QStringList{u"shell"_s} + away,
            QStringList{u"shell"_s, u"--json"_s} + away,
            QStringList{u"queue"_s, u"list"_s} + here,
            QStringList{u"queue"_s, u"list"_s, u"--json"_s} + here,
            QStringList{u"queue"_s, u"show"_s, u"1"_s} + here,
            QStringList{u"queue"_s, u"retry"_s, u"--all"_s} + here,
            QStringList{u"queue"_s, u"deliver"_s} + here,
            QStringList{u"queue"_s, u"drop"_s, u"--yes"_s, u"1"_s} + here,
            QStringList{u"receipts"_s, u"list"_s} + here,
            QStringList{u"receipts"_s, u"show"_s, u"R-1"_s, u"--json"_s} + here,
            QStringList{u"reconcile"_s, u"--data-dir"_s, stand},
            QStringList{u"doctor"_s} + here,
            QStringList{u"doctor"_s, u"--json"_s} + here,
            QStringList{u"support-bundle"_s, u"-o"_s, files.path(u"case.tar.gz"_s)} + here,
        };
    }

    /// `prepare` is done in the child, before it becomes the till.
    [[nodiscard]] static Ran runPrepared(const QStringList& arguments, const std::function<void()>& prepare)
    {
        QProcess till;
        till.setChildProcessModifier(prepare);
        start(till, arguments);
        till.write("help\n{ \"do\": \"cancel\" }\n"); // for the shell
        till.closeWriteChannel();
        Ran ran;
        if (till.waitForFinished(patienceMs) && till.exitStatus() == QProcess::NormalExit)
            ran.status = till.exitCode();
        ran.err = till.readAllStandardError();
        return ran;
    }

    const Files files;
    const QString directory = files.path(u"data"_s);
    const QString stand = files.path(u"stand"_s);
    const QString scenario = files.write(u"s.json"_s, story::scenario(sale + story::rollback()));
};

} // namespace

TEST_F(TillOutput, ThatCannotBeWrittenIsSaidByEveryCommand)
{
    for (const QStringList& arguments : commands()) {
        const Ran ran = runPrepared(arguments, [] {
            const int full = open("/dev/full", O_WRONLY);
            dup2(full, STDOUT_FILENO);
        });
        const std::string command = arguments.join(u' ').toStdString();
        EXPECT_EQ(ran.status, 3) << command;
        EXPECT_THAT(ran.err.toStdString(), HasSubstr("till: the standard output cannot be written"))
            << command;
    }
}

TEST_F(TillOutput, ThatIsClosedIsSaidAndNoFileTakesItsPlace)
{
    for (const QStringList& arguments : commands()) {
        const bool reads = arguments.first() == u"shell"_s;
        const Ran ran = runPrepared(arguments, [reads] {
            if (!reads)
                close(STDIN_FILENO);
            close(STDOUT_FILENO);
        });
        const std::string command = arguments.join(u' ').toStdString();
        EXPECT_EQ(ran.status, 3) << command;
        EXPECT_THAT(ran.err.toStdString(), HasSubstr("till: the standard output cannot be written"))
            << command;
    }
    EXPECT_EQ(run({u"doctor"_s, u"--json"_s, u"--data-dir"_s, directory}).out.count("sound, "), 1)
        << "nothing was written into the store";
}

TEST_F(TillOutput, WhoseReaderWentAwayEndsTheProgramAtItsEndWithoutAWord)
{
    for (const QStringList& arguments : commands()) {
        std::array<int, 2> ends{};
        ASSERT_EQ(pipe2(ends.data(), O_CLOEXEC), 0);
        close(ends[0]);
        const Ran ran = runPrepared(arguments, [&ends] { dup2(ends[1], STDOUT_FILENO); });
        close(ends[1]);
        const std::string command = arguments.join(u' ').toStdString();
        EXPECT_EQ(ran.status, 128 + SIGPIPE) << command;
        EXPECT_EQ(ran.err.count("standard output"), 0) << command;
    }
    storage::setDataDirectory(directory);
    EXPECT_FALSE(MessageQueue().find(1)) << "it was dropped, whoever heard of it";
    storage::setDataDirectory({});
}

TEST_F(TillOutput, MayGoWhereItIsNotKept)
{
    const Ran ran = runPrepared({u"queue"_s, u"list"_s, u"--data-dir"_s, directory}, [] {
        const int nowhere = open("/dev/null", O_WRONLY);
        dup2(nowhere, STDOUT_FILENO);
    });
    EXPECT_EQ(ran.status, 0);
    EXPECT_EQ(ran.err, "");
}

} // namespace tilltest
