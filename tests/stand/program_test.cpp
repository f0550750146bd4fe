// The program itself: command line, credentials, how it starts and ends.

#include "tests/stand/standfixture.h"

#include <QFile>
#include <QProcess>
#include <QTcpServer>
#include <QTemporaryDir>
#include <QUrl>

#include <csignal>

using namespace Qt::StringLiterals;
using standtest::Login;
using standtest::StandProcess;
using ::testing::HasSubstr;
using ::testing::Optional;

namespace {

int statusWith(const QByteArray& root, const Login& login)
{
    return standtest::send({.url = root + "/v2/partner/card/2000000000017/card-info", .login = login}).status;
}

/// The stand ends by itself with `status` and a text with `what` on stderr, having listened nowhere.
void expectRefusal(const QStringList& arguments, int status, const char* what)
{
    StandProcess stand(arguments);
    EXPECT_THAT(stand.exitStatus(), Optional(status)) << arguments.join(u' ').toStdString();
    EXPECT_THAT(stand.errors().toStdString(), HasSubstr(what));
    EXPECT_EQ(stand.output(), "");
}

void write(const QString& name, const QByteArray& content)
{
    QFile file(name);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write(content);
}

TEST(StandProgram, ListensOnTheLoopbackAddressAtAFreePort)
{
    StandProcess first;
    StandProcess second;
    const QUrl one(QString::fromLatin1(first.url()));
    const QUrl other(QString::fromLatin1(second.url()));
    EXPECT_EQ(one.host(), u"127.0.0.1"_s);
    EXPECT_GT(one.port(), 0);
    EXPECT_GT(other.port(), 0);
    EXPECT_NE(one.port(), other.port());
}

TEST(StandProgram, ListensOnTheAddressGiven)
{
    StandProcess stand({u"--address"_s, u"127.0.0.2"_s});
    const auto root = stand.url();
    EXPECT_TRUE(root.startsWith("http://127.0.0.2:")) << root.constData();
    EXPECT_EQ(statusWith(root, {}), 200);
}

TEST(StandProgram, EndsWithStatusZeroOnSigterm)
{
    StandProcess stand;
    ASSERT_FALSE(stand.url().isEmpty());
    stand.signal(SIGTERM);
    EXPECT_THAT(stand.exitStatus(), Optional(0));
    EXPECT_EQ(stand.errors(), "");
}

TEST(StandProgram, EndsWithStatusZeroOnSigint)
{
    StandProcess stand;
    ASSERT_FALSE(stand.url().isEmpty());
    stand.signal(SIGINT);
    EXPECT_THAT(stand.exitStatus(), Optional(0));
}

TEST(StandProgram, EndsWithItsInputWhenAskedTo)
{
    StandProcess stand({u"--until-eof"_s});
    ASSERT_FALSE(stand.url().isEmpty());
    stand.closeInput();
    EXPECT_THAT(stand.exitStatus(), Optional(0));
}

TEST(StandProgram, OutlivesItsInputOtherwise)
{
    StandProcess stand;
    const auto root = stand.url();
    stand.closeInput();
    EXPECT_EQ(statusWith(root, {}), 200);
    EXPECT_EQ(statusWith(root, {}), 200);
    stand.signal(SIGTERM);
    EXPECT_THAT(stand.exitStatus(), Optional(0));
}

TEST(StandProgram, TakesTheUserFromTheCommandLine)
{
    StandProcess stand({u"--user"_s, u"касса"_s});
    const auto root = stand.url();
    EXPECT_EQ(statusWith(root, {.user = "касса"}), 200);
    EXPECT_EQ(statusWith(root, {}), 401);
}

TEST(StandProgram, TakesThePasswordFromTheEnvironment)
{
    StandProcess stand({}, "пароль из среды");
    const auto root = stand.url();
    EXPECT_EQ(statusWith(root, {.password = "пароль из среды"}), 200);
    EXPECT_EQ(statusWith(root, {}), 401);
}

TEST(StandProgram, PrefersThePasswordFileToTheEnvironment)
{
    const QTemporaryDir directory;
    const auto file = directory.filePath(u"password"_s);
    write(file, " of the file: \r\n");
    StandProcess stand({u"--password-file"_s, file}, "of the environment");
    const auto root = stand.url();
    EXPECT_EQ(statusWith(root, {.password = " of the file: "}), 200);
    EXPECT_EQ(statusWith(root, {.password = "of the environment"}), 401);
}

TEST(StandProgram, RefusesAPasswordFileThatIsMissingOrEmpty)
{
    const QTemporaryDir directory;
    const auto file = directory.filePath(u"password"_s);
    expectRefusal({u"--password-file"_s, file}, 1, "Cannot read the password file");
    write(file, "\n");
    expectRefusal({u"--password-file"_s, file}, 1, "is empty");
}

TEST(StandProgram, RefusesAPortInUse)
{
    QTcpServer other;
    ASSERT_TRUE(other.listen(QHostAddress::LocalHost));
    expectRefusal({u"--port"_s, QString::number(other.serverPort())}, 1,
                  u"Cannot listen on http://127.0.0.1:%1/"_s.arg(other.serverPort()).toLatin1().constData());
}

TEST(StandProgram, RefusesADataFileItCannotWrite)
{
    const QTemporaryDir directory;
    expectRefusal({u"--data"_s, directory.filePath(u"missing/stand.sqlite"_s)}, 1,
                  "Cannot use the data file");
    expectRefusal({u"--data"_s, directory.path()}, 1, "Cannot use the data file");
}

TEST(StandProgram, RefusesADataFileThatIsNone)
{
    const QTemporaryDir directory;
    const auto file = directory.filePath(u"letter.txt"_s);
    write(file, QByteArray("Dear stand, this is no database. ").repeated(40));
    expectRefusal({u"--data"_s, file}, 1, "Cannot use the data file");
}

TEST(StandProgram, RefusesADataFileOfANewerStand)
{
    const QTemporaryDir directory;
    const auto name = directory.filePath(u"stand.sqlite"_s);
    {
        StandProcess stand({u"--data"_s, name});
        ASSERT_FALSE(stand.url().isEmpty());
        stand.signal(SIGTERM);
        ASSERT_THAT(stand.exitStatus(), Optional(0));
    }
    // SQLite keeps user_version in the bytes 60 to 63 of the file, the highest first.
    QFile file(name);
    ASSERT_TRUE(file.open(QIODevice::ReadWrite));
    file.seek(60);
    file.write("\0\0\x7f\0", 4);
    file.close();
    expectRefusal({u"--data"_s, name}, 1, "newer stand");
}

TEST(StandProgram, RefusesWhatItDoesNotUnderstandOnItsCommandLine)
{
    expectRefusal({u"--nonsense"_s}, 2, "nonsense");
    expectRefusal({u"--help-all"_s}, 2, "help-all");
    expectRefusal({u"nonsense"_s}, 2, "nonsense");
    expectRefusal({u"--password"_s, u"on-the-command-line"_s}, 2, "password");
    expectRefusal({u"--port"_s}, 2, "port");
    expectRefusal({u"--port"_s, u"65536"_s}, 2, "65536");
    expectRefusal({u"--address"_s, u"somewhere"_s}, 2, "somewhere");
    expectRefusal({u"--user"_s, u"a:b"_s}, 2, "colon");
    for (const auto& ratio : {u"10"_s, u"0:1"_s, u"1:0"_s, u"1.5:1"_s, u"1:2:3"_s, u"-1:1"_s, u"1001:1"_s})
        expectRefusal({u"--ratio="_s + ratio}, 2, "10:1");
    for (const auto& option : {u"--earn-percent="_s, u"--spend-percent="_s}) {
        for (const auto& percent : {u"-1"_s, u"100.01"_s, u"5%"_s})
            expectRefusal({option + percent}, 2, "from 0 to 100");
    }
    expectRefusal({u"--sms-code="_s}, 2, "code is empty");
    expectRefusal({u"--code-lifetime=-1"_s}, 2, "seconds");
    expectRefusal({u"--code-attempts=0"_s}, 2, "times");
}

TEST(StandProgram, ShowsItsHelp)
{
    StandProcess stand({u"--help"_s});
    EXPECT_THAT(stand.exitStatus(), Optional(0));
    const auto help = stand.output().toStdString();
    for (const auto* option :
         {"--address", "--port", "--host-name", "--data", "--user", "--password-file", "--until-eof",
          "--ratio", "--earn-percent", "--spend-percent", "--sms-code", "--code-lifetime", "--code-attempts",
          "--help", "--version", "KYR_STAND_PASSWORD"})
        EXPECT_THAT(help, HasSubstr(option));
}

TEST(StandProgram, ShowsItsVersionAndThoseOfItsLibraries)
{
    StandProcess stand({u"--version"_s});
    EXPECT_THAT(stand.exitStatus(), Optional(0));
    EXPECT_THAT(stand.output().toStdString(),
                ::testing::MatchesRegex("stand [0-9]+\\.[0-9]+\\.[0-9]+\n"
                                        "Qt 6[0-9.]+, built with 6[0-9.]+\n"
                                        "SQLite 3[0-9.]+\n"
                                        "zlib 1[0-9.]+, built with 1[0-9.]+\n"));
}

TEST(StandProgram, SaysThatItsOutputCannotBeWritten)
{
    for (const QString& option : {u"--help"_s, u"--version"_s}) {
        QProcess stand;
        stand.setStandardOutputFile(u"/dev/full"_s);
        stand.start(QStringLiteral(STAND_PROGRAM), {option});
        ASSERT_TRUE(stand.waitForFinished());
        EXPECT_EQ(stand.exitCode(), 1);
        EXPECT_THAT(stand.readAllStandardError().toStdString(), HasSubstr("output cannot be written"));
    }
}

} // namespace
