#include "tests/journey/till/tillprocess.h"

#include <gmock/gmock.h>

using namespace Qt::StringLiterals;
using ::testing::HasSubstr;
using ::testing::Not;
using ::testing::StartsWith;

namespace tilltest {

namespace {

/// Expects exit status 2, nothing on the standard output, and that one line of reason.
void expectMisuse(const QStringList& arguments, const char* reason)
{
    const Ran ran = run(arguments);
    EXPECT_EQ(ran.status, 2);
    EXPECT_EQ(ran.out, "");
    EXPECT_THAT(ran.err.toStdString(), HasSubstr(reason));
    EXPECT_EQ(ran.err.count('\n'), 1) << ran.err.toStdString();
}

} // namespace

TEST(TillCommandLine, HelpNamesCommandsOptionsAndExitStatuses)
{
    const Ran ran = run({u"--help"_s});
    EXPECT_EQ(ran.status, 0);
    EXPECT_EQ(ran.err, "");
    for (const char* word : {"run FILE...", "shell", "--config", "--server-url", "--plugin", "--stand",
                             "--data-dir", "--json", "--verbose", "--version", "Exit status"})
        EXPECT_THAT(ran.out.toStdString(), HasSubstr(word));
}

TEST(TillCommandLine, VersionNamesTheTillAndQt)
{
    const Ran ran = run({u"--version"_s});
    EXPECT_EQ(ran.status, 0);
    EXPECT_THAT(ran.out.toStdString(), StartsWith("till "));
    EXPECT_THAT(ran.out.toStdString(), HasSubstr(std::string("\nQt ") + qVersion() + ", built with 6."));
    for (const char* library : {"\nOpenSSL 3.", "\nSQLite 3.", "\nlibcurl ", "\nlibpq "})
        EXPECT_THAT(ran.out.toStdString(), HasSubstr(library));
}

TEST(TillCommandLine, HelpOfACommandIsTheSameByBothNames)
{
    const Ran ran = run({u"help"_s, u"run"_s});
    EXPECT_EQ(ran.status, 0);
    EXPECT_THAT(ran.out.toStdString(), StartsWith("Usage: till run FILE..."));
    EXPECT_THAT(ran.out.toStdString(), HasSubstr("Examples:\n"));
    EXPECT_THAT(ran.out.toStdString(), HasSubstr("Exit status:\n"));
    EXPECT_EQ(run({u"run"_s, u"--help"_s}).out, ran.out);
    EXPECT_EQ(run({u"-h"_s, u"run"_s}).out, ran.out);
}

TEST(TillCommandLine, RefusesWhatItDoesNotKnow)
{
    expectMisuse({}, "a command is missing: expected run, shell");
    expectMisuse({u"walk"_s}, "unknown command 'walk'; known are run, shell, ");
    expectMisuse({u"shel"_s}, "unknown command 'shel'; did you mean \"shell\"?");
    expectMisuse({u"help"_s, u"rum"_s}, "unknown command 'rum'; did you mean \"run\"?");
    expectMisuse({u"run"_s}, "which scenario?");
    expectMisuse({u"shell"_s, u"more"_s}, "unexpected 'more'");
    expectMisuse({u"shell"_s, u"--loud"_s}, "unknown option '--loud'; see till");
    expectMisuse({u"shell"_s, u"--verbos"_s}, "unknown option '--verbos'; did you mean \"--verbose\"?");
    expectMisuse({u"shell"_s, u"-x"_s}, "unknown option '-x'");
    expectMisuse({u"shell"_s, u"--json=yes"_s}, "json");
    expectMisuse({u"shell"_s, u"--log-level"_s, u"loud"_s},
                 "--log-level: expected debug, info, warning or error instead of 'loud'");
    expectMisuse({u"shell"_s, u"--data-dir"_s, u""_s}, "--data-dir: expected a folder");
    expectMisuse({u"shell"_s, u"--server-url"_s, u"ftp://example.com/"_s},
                 "--server-url: expected an address");
}

TEST(TillCommandLine, NamesAFileThatIsNotThere)
{
    expectMisuse({u"run"_s, u"/nowhere.json"_s}, "/nowhere.json: cannot be read: No such file or directory");
    expectMisuse({u"shell"_s, u"--config"_s, u"/nowhere.toml"_s},
                 "/nowhere.toml: cannot be read: No such file or directory");
}

TEST(TillCommandLine, NamesEveryMistakeInTheConfigurationButNoValue)
{
    const Files files;
    const QString config = files.write(u"till.toml"_s, "[KYRLoyalty]\n"
                                                       "timeout = \"3\"\n"
                                                       "pasword = \"hush-hush\"\n"
                                                       "[Till]\n"
                                                       "shopCode = 5\n");
    const Ran ran = run({u"shell"_s, u"--config"_s, config});
    EXPECT_EQ(ran.status, 2);
    EXPECT_EQ(ran.out, "");
    const QList<QByteArray> lines = ran.err.trimmed().split('\n');
    ASSERT_EQ(lines.size(), 3) << ran.err.toStdString();
    EXPECT_THAT(lines[0].toStdString(), StartsWith((config + u":2: KYRLoyalty:timeout: "_s).toStdString()));
    EXPECT_THAT(lines[1].toStdString(),
                StartsWith((config + u":3: KYRLoyalty:pasword: unknown"_s).toStdString()));
    EXPECT_THAT(lines[2].toStdString(), StartsWith((config + u":5: Till:shopCode: "_s).toStdString()));
    EXPECT_THAT(ran.err.toStdString(), Not(HasSubstr("hush-hush")));
}

TEST(TillCommandLine, TheServerUrlGoesOverTheConfiguredOne)
{
    const Files files;
    // Were the stand started for want of a URL, it would fail; were the configured one taken, the log would
    // name its path.
    const QString config = files.write(u"till.toml"_s, "[KYRLoyalty]\n"
                                                       "serverUrl = \"http://127.0.0.1:1/configured/\"\n");
    const Ran ran = run({u"shell"_s, u"--verbose"_s, u"--config"_s, config, u"--stand"_s, u"/bin/false"_s,
                         u"--server-url"_s, u"http://127.0.0.1:1/given/"_s},
                        "openSale id=R-1 positions=[]\nidentifyByCard card=2000000000017\n");
    EXPECT_EQ(ran.status, 0);
    EXPECT_THAT(ran.out.toStdString(), HasSubstr("GET /given/v2/"));
    EXPECT_THAT(ran.out.toStdString(), Not(HasSubstr("/configured/")));
}

} // namespace tilltest
