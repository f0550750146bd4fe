#include "host/queue/messagequeue.h"
#include "host/storage/datadirectory.h"
#include "tests/journey/till/tillprocess.h"
#include "tests/support/httpserver.h"
#include "tests/support/postgres.h"
#include "till/commands.h"

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
        for (int i = 0; i < 3; ++i)
            enqueue(directory, nobody);
        EXPECT_EQ(run({u"run"_s, scenario, u"--data-dir"_s, stand}).status, 0) << "leaves books behind";
    }

    static void enqueue(const QString& where, const QString& service)
    {
        storage::setDataDirectory(where);
        const QVariantMap message{{u"method"_s, u"POST"_s}, {u"url"_s, QUrl(service + u"v2/a"_s)}};
        MessageQueue().enqueue(u"kyrloyalty"_s, u"R-1"_s, message, u"a"_s);
        storage::setDataDirectory({});
    }

    /// What a command has to be told before it says something and ends. A new one that needs more than a data
    /// directory is told so here.
    [[nodiscard]] QHash<QString, QStringList> told(bool json) const
    {
        const QStringList here{u"--data-dir"_s, directory};
        const QStringList away{u"--server-url"_s, nobody};
        return {
            {u"run"_s, QStringList{scenario} + away},
            {u"shell"_s, away},
            {u"queue show"_s, QStringList{u"3"_s} + here},
            {u"queue retry"_s, QStringList{u"--all"_s} + here},
            {u"queue drop"_s, QStringList{u"--yes"_s, json ? u"2"_s : u"1"_s} + here},
            {u"queue readdress"_s,
             QStringList{u"--yes"_s, u"--from"_s, nobody, u"--to"_s, u"http://127.0.0.1:2/"_s} + here},
            {u"receipts show"_s, QStringList{u"R-1"_s} + here},
            {u"reconcile"_s, {u"--data-dir"_s, stand}},
            {u"forget"_s, QStringList{u"--yes"_s, u"--card"_s, u"2000000000017"_s} + here},
            {u"backup"_s, QStringList{files.path(json ? u"b.sqlite"_s : u"a.sqlite"_s)} + here},
            {u"restore"_s, {stand + u"/till.sqlite"_s, u"--data-dir"_s, files.path(u"restored"_s)}},
            {u"rescue"_s, QStringList{stand + u"/till.sqlite"_s} + here},
            {u"deliver"_s, {u"--data-dir"_s, delivered}},
            {u"shop prepare"_s, {database.address()}},
            {u"config check"_s, {files.write(u"till.toml"_s, {})}},
            {u"support-bundle"_s,
             QStringList{u"-o"_s, files.path(json ? u"b.tar.gz"_s : u"a.tar.gz"_s)} + here},
            {u"conformance"_s, QStringList{u"--card"_s, u"2000000000055"_s} + away},
        };
    }

    /// Every command that says something on the standard output, and what the program says by itself.
    [[nodiscard]] QList<QStringList> commands(const QList<bool>& forms = {false}) const
    {
        QList<QStringList> all{{u"--version"_s}, {u"--help"_s}, {u"help"_s, u"run"_s}};
        for (const till::Command& command : till::commands()) {
            for (const bool json : forms) {
                const QStringList words = told(json).value(command.name, {u"--data-dir"_s, directory});
                if (!command.graphical)
                    all.append(command.name.split(u' ') + words +
                               (json ? QStringList{u"--json"_s} : QStringList{}));
            }
        }
        return all;
    }

    /// `prepare` is done in the child, before it becomes the till.
    [[nodiscard]] Ran runPrepared(const QStringList& arguments, const std::function<void()>& prepare)
    {
        QProcess till;
        till.setChildProcessModifier(prepare);
        const bool stays = arguments.first() == u"deliver"_s;
        if (stays)
            enqueue(delivered, service.url().toString());
        start(till, arguments);
        till.write("help\n{ \"do\": \"cancel\" }\n"); // for the shell
        till.closeWriteChannel();
        if (stays) { // until it is told to stop
            ++deliveries;
            EXPECT_EQ(service.waitForRequests(deliveries).size(), deliveries);
            till.terminate();
        }
        Ran ran;
        if (till.waitForFinished(patienceMs) && till.exitStatus() == QProcess::NormalExit)
            ran.status = till.exitCode();
        ran.err = till.readAllStandardError();
        return ran;
    }

    void expectComplaints(const QList<QStringList>& lines, const std::function<void()>& prepare)
    {
        for (const QStringList& arguments : lines) {
            const Ran ran = runPrepared(arguments, prepare);
            const std::string command = arguments.join(u' ').toStdString();
            EXPECT_EQ(ran.status, 3) << command << '\n' << ran.err.toStdString();
            EXPECT_THAT(ran.err.toStdString(), HasSubstr("till: the standard output cannot be written"))
                << command;
        }
    }

    const Files files;
    const QString directory = files.path(u"data"_s);
    const QString delivered = files.path(u"delivered"_s);
    const QString stand = files.path(u"stand"_s);
    const test_support::Postgres database;
    const QString nobody = u"http://127.0.0.1:1/"_s;
    const QString scenario = files.write(u"s.json"_s, story::scenario(sale + story::rollback()));
    test_support::HttpServer service;
    qsizetype deliveries = 0;
};

} // namespace

TEST_F(TillOutput, ThatCannotBeWrittenIsSaidByEveryCommand)
{
    expectComplaints(commands({false, true}), [] {
        const int full = open("/dev/full", O_WRONLY);
        dup2(full, STDOUT_FILENO);
    });
}

TEST_F(TillOutput, ThatIsAFullPipeIsSaidByEveryCommand)
{
    std::array<int, 2> ends{};
    ASSERT_EQ(pipe2(ends.data(), O_CLOEXEC | O_NONBLOCK), 0);
    while (write(ends[1], "", 1) == 1) {
    }
    expectComplaints(commands(), [&ends] { dup2(ends[1], STDOUT_FILENO); });
    close(ends[0]);
    close(ends[1]);
}

TEST_F(TillOutput, ThatIsClosedIsSaidAndNoFileTakesItsPlace)
{
    expectComplaints(commands(), [] { close(STDOUT_FILENO); });
    expectComplaints({{u"queue"_s, u"list"_s, u"--data-dir"_s, directory}}, [] {
        close(STDIN_FILENO);
        close(STDOUT_FILENO);
    });
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
