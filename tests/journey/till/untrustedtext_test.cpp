#include "tests/journey/till/tillprocess.h"
#include "tests/support/hostiletext.h"
#include "tests/support/httpserver.h"

#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>

#include <gmock/gmock.h>

using namespace Qt::StringLiterals;
using namespace story;
using test_support::hostileText;
using test_support::hostileTextAsShown;
using test_support::HttpAnswer;
using test_support::HttpServer;
using test_support::jsonText;
using test_support::unprintableIn;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;

namespace tilltest {

namespace {

HttpAnswer wellWith(const QByteArray& data) { return HttpAnswer::status(200, R"({"data":)" + data + '}'); }

HttpAnswer refusal()
{
    return HttpAnswer::status(422,
                              R"({"data":[{"message":)" + jsonText(hostileText()) + R"(},{"message":"2"}]})");
}

HttpAnswer customer()
{
    return wellWith(R"({"user_data":{"last_name":)" + jsonText(hostileText()) +
                    R"(},"accounts_data":[{"avialable":"1 234,50","number":)" + jsonText(hostileText()) +
                    "}]}");
}

/// A service whose every text is hostile, and a till with a log file.
class TillUntrustedText : public testing::Test
{
protected:
    /// Plays one receipt: a refused card, a found one, a choice among two, an earning that waits and is
    /// refused.
    Ran play(const QStringList& more)
    {
        const QByteArray cardData = R"({"card_data":{"status":3}})";
        server.enqueue(refusal());
        server.enqueue(wellWith(cardData));
        server.enqueue(customer());
        server.enqueue(
            wellWith(R"({"cards_data":[{"number":)" + jsonText(hostileText()) + R"(},{"number":"2"}]})"));
        server.enqueue(HttpAnswer::status(503));
        server.enqueue(refusal());
        const Steps steps = openSale("R-1", {goods(hostileText(), 10)}) + identifyByCard("1").mayFail() +
                            identifyByCard("2") + identifyByPhone("3").choosing(-1) + pay() +
                            deliver().mayFail();
        const QString file = files.write(u"s.json"_s, scenario(steps, {}, hostileText()));
        const Ran ran = run(QStringList{u"run"_s, file, u"--data-dir"_s, directory, u"--server-url"_s,
                                        server.url().toString(), u"--log-file"_s, log} +
                            more);
        EXPECT_EQ(ran.status, 0) << ran.out.toStdString() << ran.err.toStdString();
        return ran;
    }

    [[nodiscard]] Ran tool(const QStringList& arguments) const
    {
        return run(arguments + QStringList{u"--data-dir"_s, directory});
    }

    [[nodiscard]] QByteArray logged() const
    {
        QFile file(log);
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    }

    const Files files;
    const QString directory = files.path(u"data"_s);
    const QString log = files.path(u"till.log"_s);
    HttpServer server;
};

} // namespace

TEST_F(TillUntrustedText, IsShownWithoutWhatATerminalObeys)
{
    for (const QStringList& way : {QStringList(), QStringList{u"--verbose"_s}}) {
        const Ran ran = play(way);
        EXPECT_EQ(unprintableIn(ran.out), "") << way.join(u' ').toStdString();
        EXPECT_EQ(unprintableIn(ran.err), "");
        EXPECT_THAT(ran.out.toStdString(), HasSubstr(hostileTextAsShown().toStdString()));
        EXPECT_TRUE(QFile::remove(directory + u"/till.sqlite"_s));
        QFile::remove(directory + u"/till.sqlite-wal"_s);
        QFile::remove(directory + u"/till.sqlite-shm"_s);
    }
}

TEST_F(TillUntrustedText, KeepsItsValueInJsonOfPrintableCharacters)
{
    const Ran ran = play({u"--json"_s, u"--verbose"_s});
    EXPECT_EQ(unprintableIn(ran.out), "");
    EXPECT_EQ(unprintableIn(ran.err), "") << "the talk beside it";
    EXPECT_THAT(ran.err.toStdString(), HasSubstr("f\uFFFDg"));
    EXPECT_EQ(linesOf(ran)[1][u"error"_s].toString(), hostileText() + u"\n2"_s);
    EXPECT_THAT(ran.out.toStdString(), HasSubstr(R"(f\u202eg\u2028h)"));
}

TEST_F(TillUntrustedText, ForgesNoLineOfTheLogFile)
{
    play({u"--log-level"_s, u"debug"_s});
    EXPECT_EQ(unprintableIn(logged()), "");
    EXPECT_THAT(logged().toStdString(), HasSubstr("forged"));
    EXPECT_THAT(logged().toStdString(), HasSubstr("] a\uFFFD[2Jb"));
    for (const QByteArray& line : logged().chopped(1).split('\n')) {
        EXPECT_TRUE(line.startsWith("    ") || line.mid(24, 1) == " ") << line.toStdString();
        EXPECT_FALSE(line.endsWith("forged") && !line.startsWith("    ")) << line.toStdString();
    }
}

TEST_F(TillUntrustedText, IsShownByTheToolsWithoutWhatATerminalObeys)
{
    play({});
    for (const QStringList& arguments :
         {QStringList{u"queue"_s, u"list"_s}, QStringList{u"queue"_s, u"show"_s, u"1"_s},
          QStringList{u"receipts"_s, u"list"_s}, QStringList{u"receipts"_s, u"show"_s, u"R-1"_s},
          QStringList{u"doctor"_s}, QStringList{u"queue"_s, u"show"_s, u"\x1b[2J"_s}}) {
        const std::string command = arguments.join(u' ').toStdString();
        for (const QStringList& way : {QStringList(), QStringList{u"--json"_s}}) {
            const Ran ran = tool(arguments + way);
            EXPECT_EQ(unprintableIn(ran.out), "") << command;
            EXPECT_EQ(unprintableIn(ran.err), "") << command;
            EXPECT_THAT((ran.out + ran.err).toStdString(), Not(IsEmpty())) << command;
        }
    }
    EXPECT_THAT(tool({u"queue"_s, u"list"_s}).out.toStdString(), HasSubstr("a\uFFFD[2Jb"));
    EXPECT_THAT(tool({u"receipts"_s, u"show"_s, u"R-1"_s}).out.toStdString(), HasSubstr("a\uFFFD[2Jb"));
    const Ran shown = tool({u"queue"_s, u"show"_s, u"1"_s, u"--json"_s});
    EXPECT_EQ(QJsonDocument::fromJson(shown.out).object()[u"lastError"_s].toString(),
              hostileText() + u"\n2"_s);
}

TEST_F(TillUntrustedText, GoesIntoTheSupportBundleWithoutWhatATerminalObeys)
{
    play({u"--log-level"_s, u"debug"_s});
    const QString archive = files.path(u"case.tar.gz"_s);
    ASSERT_EQ(tool({u"support-bundle"_s, u"-o"_s, archive, u"--log-file"_s, log}).status, 0);
    QProcess tar;
    tar.start(u"tar"_s, {u"-xzOf"_s, archive});
    ASSERT_TRUE(tar.waitForFinished(patienceMs));
    const QByteArray content = tar.readAllStandardOutput();
    EXPECT_EQ(unprintableIn(content), "");
    EXPECT_THAT(content.toStdString(), HasSubstr(R"(f\u202eg)")) << "the queue and the timelines";
    EXPECT_THAT(content.toStdString(), HasSubstr("f\uFFFDg")) << "the log";
}

TEST_F(TillUntrustedText, OfFilesAndArgumentsIsNoBetter)
{
    const QString scenario = files.write(u"s.json"_s, R"({ "steps": [ { "do": "\u001b[2J\u202e" } ] })");
    const QString config = files.write(u"till.toml"_s, "[KYRLoyalty]\n\"a\\u001b[2J\\u202e\" = 1\n");
    for (const QStringList& arguments :
         {QStringList{u"run"_s, scenario}, QStringList{u"shell"_s, u"--config"_s, config},
          QStringList{u"\x1b[2J\u202E"_s}, QStringList{u"run"_s, u"\x1b[2J\u202E"_s}}) {
        const Ran ran = run(arguments);
        EXPECT_EQ(ran.status, 2);
        EXPECT_EQ(unprintableIn(ran.out + ran.err), "") << arguments.first().toStdString();
        EXPECT_THAT(ran.err.toStdString(), HasSubstr("\uFFFD[2J\uFFFD"));
    }
    const Ran shell =
        run({u"shell"_s, u"--server-url"_s, u"http://127.0.0.1:1/"_s}, "openSale \x1b[2J\xe2\x80\xae\n");
    EXPECT_EQ(unprintableIn(shell.out + shell.err), "");
    EXPECT_THAT(shell.out.toStdString(), HasSubstr("\uFFFD[2J\uFFFD"));
}

} // namespace tilltest
