#include "tests/journey/till/tillprocess.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonDocument>
#include <QJsonObject>

#include <gmock/gmock.h>

#include <sys/stat.h>

using namespace Qt::StringLiterals;
using ::testing::AllOf;
using ::testing::HasSubstr;
using ::testing::Not;

namespace tilltest {

namespace {

const QByteArray askForACard = "openSale id=R-1 positions=[]\nidentifyByCard card=2000000000017\n";

/// Runs the shell against an address where nobody listens, and returns what it shows of the exchanges.
std::string exchangesOf(const QStringList& variables, const QStringList& arguments)
{
    const Ran ran = runWith(variables, QStringList{u"shell"_s, u"--verbose"_s} + arguments, askForACard);
    EXPECT_EQ(ran.status, 0) << ran.err.toStdString();
    return ran.out.toStdString();
}

/// A password file with that mode.
QString passwordFile(const Files& files, QFile::Permissions mode)
{
    QString path = files.write(u"password"_s, "hush-hush\n");
    QFile::setPermissions(path, mode);
    return path;
}

} // namespace

TEST(TillEnvironment, GoesOverTheFileAndUnderTheOption)
{
    const Files files;
    const QString config =
        files.write(u"till.toml"_s, "[KYRLoyalty]\nserverUrl = \"http://127.0.0.1:1/file/\"\n");
    const QString variable = u"KYR_SERVER_URL=http://127.0.0.1:1/variable/"_s;
    EXPECT_THAT(exchangesOf({u"KYR_CONFIG="_s + config}, {}), HasSubstr("GET /file/v2/"));
    EXPECT_THAT(exchangesOf({variable, u"KYR_CONFIG="_s + config}, {}), HasSubstr("GET /variable/v2/"));
    EXPECT_THAT(exchangesOf({variable, u"KYR_CONFIG=/nowhere.toml"_s},
                            {u"--config"_s, config, u"--server-url"_s, u"http://127.0.0.1:1/option/"_s}),
                HasSubstr("GET /option/v2/"));
}

namespace {

/// Where configurations are looked for that nobody names.
class TillUsualConfiguration : public testing::Test
{
protected:
    TillUsualConfiguration()
    {
        QDir(files.path({})).mkpath(u"machine"_s);
        QDir(files.path({})).mkpath(u"user/kyr-loyalty"_s);
    }

    [[nodiscard]] Ran runThere(const QStringList& arguments, const QStringList& more = {}) const
    {
        return runWith(QStringList{u"CONFIGURATION_DIRECTORY="_s + files.path(u"machine"_s),
                                   u"XDG_CONFIG_HOME="_s + files.path(u"user"_s)} +
                           more,
                       arguments, askForACard);
    }

    /// Which file `till config check` looks at.
    [[nodiscard]] QString looked(const QStringList& options = {}, const QStringList& more = {}) const
    {
        const Ran ran = runThere(QStringList{u"config"_s, u"check"_s, u"--json"_s} + options, more);
        return QJsonDocument::fromJson(ran.out).object()[u"file"_s].toString();
    }

    const Files files;
    const QString machines = files.path(u"machine/till.toml"_s);
    const QString users = files.path(u"user/kyr-loyalty/till.toml"_s);
    const QByteArray content = "[KYRLoyalty]\nserverUrl = \"http://127.0.0.1:1/usual/\"\n";
};

} // namespace

TEST_F(TillUsualConfiguration, IsTheMachinesElseTheUsersUnlessOneIsNamed)
{
    EXPECT_THAT(runThere({u"config"_s, u"check"_s}).err.toStdString(),
                HasSubstr("there is none at " + machines.toStdString() + " or " + users.toStdString()));
    static_cast<void>(files.write(u"user/kyr-loyalty/till.toml"_s, content));
    EXPECT_EQ(looked(), users);
    static_cast<void>(files.write(u"machine/till.toml"_s, content));
    EXPECT_EQ(looked(), machines);
    EXPECT_EQ(looked({u"--config"_s, users}), users);
    EXPECT_EQ(looked({}, {u"KYR_CONFIG="_s + users}), users);
    EXPECT_EQ(runThere({u"config"_s, u"check"_s, u"--config"_s, u""_s}).status, 2) << "none is none";
}

TEST_F(TillUsualConfiguration, IsNamedByTheDoctorAndByWhatIsWrongWithIt)
{
    EXPECT_THAT(runThere({u"doctor"_s}).out.toStdString(),
                HasSubstr("ok      configuration none at " + machines.toStdString() + " or "));
    static_cast<void>(files.write(u"machine/till.toml"_s, content));
    EXPECT_THAT(runThere({u"doctor"_s}).out.toStdString(),
                HasSubstr("ok      configuration " + machines.toStdString()));
    static_cast<void>(files.write(u"machine/till.toml"_s, "[KYRLoyalty]\nserverUrl = 1\n"));
    const Ran ran = runThere({u"queue"_s, u"list"_s});
    EXPECT_EQ(ran.status, 2);
    EXPECT_THAT(ran.err.toStdString(), HasSubstr(machines.toStdString() + ":2: KYRLoyalty:serverUrl: "));
}

TEST_F(TillUsualConfiguration, ThatCannotBeReadIsNotPassedOver)
{
    static_cast<void>(files.write(u"user/kyr-loyalty/till.toml"_s, content));
    ASSERT_TRUE(QFile::link(files.path(u"nowhere"_s), machines));
    const Ran ran = runThere({u"queue"_s, u"list"_s});
    EXPECT_EQ(ran.status, 2);
    EXPECT_THAT(ran.err.toStdString(), HasSubstr(machines.toStdString() + ": cannot be read"));
}

TEST_F(TillUsualConfiguration, IsNotForTrying)
{
    static_cast<void>(files.write(u"machine/till.toml"_s, content));
    const QStringList verbose{u"shell"_s, u"--verbose"_s};
    EXPECT_THAT(runThere(verbose).out.toStdString(),
                AllOf(HasSubstr("GET /v2/"), Not(HasSubstr("/usual/v2/"))));
    EXPECT_THAT(runThere(verbose, {u"KYR_CONFIG="_s + machines}).out.toStdString(),
                HasSubstr("GET /usual/v2/"));
}

TEST(TillEnvironment, AnAddressWithAQueryOrAFragmentIsRefused)
{
    const Files files;
    for (const QByteArray& url : {"http://127.0.0.1:1/api?key=hush"_ba, "http://127.0.0.1:1/api#part"_ba}) {
        const QString config = files.write(u"till.toml"_s, "[KYRLoyalty]\nserverUrl = \"" + url + "\"\n");
        const std::string what = ": a '?' or '#' in the service's address would send every request elsewhere";
        const std::string remedy = "take it and what follows it away";
        const std::string why = what + "; " + remedy;
        for (const QString& command : {u"shell"_s, u"deliver"_s}) {
            const Ran ran = run({command, u"--config"_s, config});
            EXPECT_EQ(ran.status, 2) << command.toStdString();
            EXPECT_THAT(ran.err.toStdString(),
                        AllOf(HasSubstr(config.toStdString() + ":2: KYRLoyalty:serverUrl" + why),
                              Not(HasSubstr("hush"))));
        }
        EXPECT_THAT(run({u"shell"_s, u"--server-url"_s, QString::fromLatin1(url)}).err.toStdString(),
                    HasSubstr("--server-url" + why));
        const Ran doctor = run({u"doctor"_s, u"--config"_s, config});
        EXPECT_EQ(doctor.status, 1);
        EXPECT_THAT(doctor.out.toStdString(), HasSubstr("problem configuration"));
        EXPECT_THAT(doctor.out.toStdString(), AllOf(HasSubstr(what), HasSubstr("→ " + remedy)));
    }
}

TEST(TillEnvironment, ADataDirectoryIsNamedByVariableOrFile)
{
    const Files files;
    const QString config = files.write(u"till.toml"_s, "[Till]\ndataDirectory = \"of-the-file\"\n");
    EXPECT_EQ(runWith({}, {u"shell"_s, u"--config"_s, config}, askForACard).status, 0);
    EXPECT_TRUE(QFile::exists(files.path(u"of-the-file/till.sqlite"_s)));
    const QString variable = u"KYR_DATA_DIR="_s + files.path(u"of-the-variable"_s);
    EXPECT_EQ(runWith({variable}, {u"shell"_s, u"--config"_s, config}, askForACard).status, 0);
    EXPECT_TRUE(QFile::exists(files.path(u"of-the-variable/till.sqlite"_s)));
}

TEST(TillEnvironment, ALogFileIsItsOwnersAloneAndGrows)
{
    const Files files;
    const QString log = files.path(u"till.log"_s);
    const QStringList arguments{u"shell"_s, u"--server-url"_s, u"http://127.0.0.1:1/"_s};
    ASSERT_EQ(runWith({u"KYR_LOG_FILE="_s + log}, arguments, askForACard).status, 0);
    const QByteArray first = contentOf(log);
    EXPECT_THAT(first.toStdString(), HasSubstr(" [kyrloyalty] "));
    EXPECT_EQ(QFileInfo(log).permissions() & QFile::Permissions(0x0077), QFile::Permissions());
    ASSERT_EQ(
        run(arguments + QStringList{u"--log-file"_s, log, u"--log-level"_s, u"error"_s}, askForACard).status,
        0);
    EXPECT_TRUE(contentOf(log).startsWith(first));
}

TEST(TillEnvironment, ALogFileThatWasMovedIsBegunAnewByTheNextLine)
{
    const Files files;
    const QString log = files.path(u"till.log"_s);
    QProcess shell;
    start(shell, {u"shell"_s, u"--json"_s, u"--log-file"_s, log});
    play(shell, sale);
    play(shell, card);
    const QByteArray first = contentOf(log);
    ASSERT_TRUE(QFile::rename(log, log + u".1"_s));
    play(shell, story::pay());
    shell.closeWriteChannel();
    shell.waitForFinished(patienceMs);
    EXPECT_THAT(contentOf(log).toStdString(), HasSubstr(" [kyrloyalty] "));
    EXPECT_EQ(contentOf(log + u".1"_s), first);
    EXPECT_EQ(QFileInfo(log).permissions() & QFile::Permissions(0x0077), QFile::Permissions());
}

TEST(TillEnvironment, ALogFileIsWrittenOnWhereItLiesWhenItCannotBeBegunAnew)
{
    const Files files;
    const QString log = files.path(u"till.log"_s);
    QProcess shell;
    start(shell, {u"shell"_s, u"--json"_s, u"--log-file"_s, log});
    play(shell, sale);
    ASSERT_TRUE(QFile::rename(log, log + u".1"_s));
    QFile::setPermissions(files.write(u"till.log"_s, {}), QFile::ReadOwner | QFile::ReadOther);
    play(shell, card);
    shell.closeWriteChannel();
    shell.waitForFinished(patienceMs);
    EXPECT_EQ(contentOf(log), "") << "others could read it";
    EXPECT_THAT(contentOf(log + u".1"_s).toStdString(), HasSubstr(" [kyrloyalty] "));
}

TEST(TillEnvironment, ALogFileThatOthersReadIsRefused)
{
    const Files files;
    const QString log = files.write(u"till.log"_s, {});
    QFile::setPermissions(log, QFile::ReadOwner | QFile::WriteOwner | QFile::ReadOther);
    const Ran ran = run({u"shell"_s, u"--log-file"_s, log});
    EXPECT_EQ(ran.status, 2);
    EXPECT_THAT(ran.err.toStdString(), HasSubstr("must be a plain file of its owner alone"));
    EXPECT_THAT(run({u"shell"_s, u"--log-file"_s, u"/nowhere/log"_s}).err.toStdString(),
                HasSubstr("/nowhere/log: the log file cannot be written: No such file or directory"));
}

TEST(TillEnvironment, APasswordFileThatOthersReadIsRefused)
{
    const Files files;
    const QString file = passwordFile(files, QFile::ReadOwner | QFile::ReadGroup);
    const QString config = files.write(u"till.toml"_s, "[Till]\npasswordFile = \"password\"\n");
    const Ran ran = run({u"shell"_s, u"--config"_s, config});
    EXPECT_EQ(ran.status, 2);
    EXPECT_THAT(
        ran.err.toStdString(),
        HasSubstr("may be read by others than its owner; mend it with: chmod 600 " + file.toStdString()));
    EXPECT_THAT(ran.err.toStdString(), Not(HasSubstr("hush")));
}

TEST(TillEnvironment, APasswordInTwoPlacesIsRefused)
{
    const Files files;
    passwordFile(files, QFile::ReadOwner);
    const QString config = files.write(
        u"till.toml"_s, "[KYRLoyalty]\npassword = \"hush\"\n[Till]\npasswordFile = \"password\"\n");
    const Ran ran = run({u"shell"_s, u"--config"_s, config});
    EXPECT_EQ(ran.status, 2);
    EXPECT_THAT(ran.err.toStdString(),
                HasSubstr("KYRLoyalty:password and Till:passwordFile both say the password"));
}

TEST(TillEnvironment, QuietShowsNoWarnings)
{
    const QStringList arguments{u"shell"_s, u"--server-url"_s, u"http://127.0.0.1:1/"_s};
    EXPECT_THAT(run(arguments, askForACard).out.toStdString(), HasSubstr("info "));
    EXPECT_THAT(run(arguments + QStringList{u"-q"_s}, askForACard).out.toStdString(),
                Not(HasSubstr("info ")));
}

TEST(TillEnvironment, AConfigurationWithAPasswordIsWarnedOfOrRefusedWhenOthersMayUseIt)
{
    const Files files;
    const QString config =
        files.write(u"till.toml"_s, "[KYRLoyalty]\nuser = \"shop\"\npassword = \"hush-hush\"\n");
    const QStringList arguments{u"shell"_s, u"--config"_s, config};
    const auto owners = QFile::ReadOwner | QFile::WriteOwner;
    QFile::setPermissions(config, owners);
    const Ran well = run(arguments);
    EXPECT_EQ(well.status, 0);
    EXPECT_THAT((well.out + well.err).toStdString(), Not(HasSubstr("may read")));
    for (const auto readers : {QFile::ReadGroup, QFile::ReadOther}) {
        QFile::setPermissions(config, owners | readers);
        const Ran warned = run(arguments);
        EXPECT_EQ(warned.status, 0);
        EXPECT_THAT(
            (warned.out + warned.err).toStdString(),
            HasSubstr("holds the password, and others than its owner may read it; mend it with: chmod 600 " +
                      config.toStdString()));
    }
    for (const auto writers : {QFile::WriteGroup, QFile::WriteOther}) {
        QFile::setPermissions(config, owners | writers);
        const Ran refused = run(arguments);
        EXPECT_EQ(refused.status, 2);
        EXPECT_THAT(refused.err.toStdString(), HasSubstr("mend it with: chmod go-w " + config.toStdString()));
        EXPECT_THAT(refused.err.toStdString(), Not(HasSubstr("hush")));
    }
}

TEST(TillEnvironment, AConfigurationThatOthersWriteMayNotSayWhereAPasswordGoes)
{
    const Files files;
    const QString config = files.write(u"till.toml"_s, "[KYRLoyalty]\nuser = \"shop\"\n");
    QFile::setPermissions(config, QFile::ReadOwner | QFile::WriteOwner | QFile::WriteOther);
    const QStringList arguments{u"shell"_s, u"--config"_s, config};
    EXPECT_EQ(run(arguments).status, 0) << "there is nothing to get";
    EXPECT_EQ(runWith({u"KYR_LOYALTY_PASSWORD=hush"_s}, arguments).status, 2);
}

TEST(TillEnvironment, ALogFileThatIsAPipeDoesNotMakeAnybodyWait)
{
    const Files files;
    const QString log = files.path(u"till.log"_s);
    ASSERT_EQ(mkfifo(QFile::encodeName(log).constData(), 0600), 0);
    EXPECT_EQ(run({u"shell"_s, u"--log-file"_s, log}).status, 2);
}

} // namespace tilltest
