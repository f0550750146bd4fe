#include "tests/journey/till/deliverscene.h"

#include <QDir>
#include <QJsonDocument>

using namespace Qt::StringLiterals;
using test_support::HttpAnswer;
using ::testing::HasSubstr;

namespace tilltest {

TEST_F(TillDeliver, ReadsItsSettingsAnewWhenItIsToldTo)
{
    const QString path = files.path(u"notify"_s);
    const Manager manager(path);
    const QString log = files.path(u"till.log"_s);
    server.enqueue(HttpAnswer::status(200, "{}"));
    server.enqueue(HttpAnswer::status(200, "{}"));
    startProgram({u"NOTIFY_SOCKET="_s + path});
    ASSERT_TRUE(manager.hears("READY=1"));
    ASSERT_TRUE(says("message 1 of R-1, payment-b2c: delivered\n"));
    EXPECT_EQ(passwordOf(0), "new");
    configure("newest", "[Till]\nlogFile = \"till.log\"\ndataDirectory = \"elsewhere\"\n");
    reload(manager);
    EXPECT_THAT(contentOf(log).toStdString(),
                HasSubstr("info    [till] The settings were read anew from " + files.path({}).toStdString()));
    enqueue(u"R-2"_s);
    ASSERT_TRUE(says("message 2 of R-2, payment-b2c: delivered\n"));
    EXPECT_EQ(passwordOf(1), "newest");
    EXPECT_EQ(stopProgram(), 0);
    EXPECT_EQ(program.readAllStandardError(), "") << "the data directory is the one of the command line";
}

TEST_F(TillDeliver, GoesOnAsBeforeWhenTheNewSettingsAreBroken)
{
    const QString path = files.path(u"notify"_s);
    const Manager manager(path);
    server.enqueue(HttpAnswer::status(200, "{}"));
    server.enqueue(HttpAnswer::status(200, "{}"));
    startProgram({u"NOTIFY_SOCKET="_s + path});
    ASSERT_TRUE(manager.hears("READY=1"));
    ASSERT_TRUE(says("message 1 of R-1, payment-b2c: delivered\n"));
    configure("broken", "timeout = 0\n");
    reload(manager);
    configure("broken", "[Till]\nlogFile = \"/nowhere/log\"\n");
    reload(manager);
    enqueue(u"R-2"_s);
    ASSERT_TRUE(says("message 2 of R-2, payment-b2c: delivered\n"));
    EXPECT_EQ(passwordOf(1), "new");
    EXPECT_EQ(stopProgram(), 0);
    EXPECT_THAT(program.readAllStandardError().toStdString(),
                AllOf(HasSubstr("till: till: error: The new settings are not taken, the former stay: " +
                                files.path(u"till.toml"_s).toStdString() + ":5: KYRLoyalty:timeout: "),
                      HasSubstr("/nowhere/log: the log file cannot be written")));
}

TEST_F(TillDeliver, SaysThatAnotherDataDirectoryTakesAStart)
{
    const QString path = files.path(u"notify"_s);
    const Manager manager(path);
    configure("new", "[Till]\ndataDirectory = \"data\"\n");
    tilltest::start(program, {u"deliver"_s, u"--config"_s, files.path(u"till.toml"_s)});
    ASSERT_TRUE(says("delivering\n"));
    configure("new", "[Till]\ndataDirectory = \"elsewhere\"\n");
    kill(static_cast<pid_t>(program.processId()), SIGHUP);
    QByteArray complaint;
    while (!complaint.contains('\n') && program.state() == QProcess::Running) {
        program.waitForReadyRead(patienceMs);
        complaint += program.readAllStandardError();
    }
    EXPECT_EQ(complaint,
              "till: till: warning: " + directory.toUtf8() + " is delivered until the next start\n");
}

TEST_F(TillDeliver, BeginsAMovedLogFileAnewWhenItIsToldTo)
{
    const QString path = files.path(u"notify"_s);
    const Manager manager(path);
    const QString log = files.path(u"till.log"_s);
    startProgram({u"NOTIFY_SOCKET="_s + path}, {u"--log-file"_s, log});
    ASSERT_TRUE(manager.hears("READY=1"));
    ASSERT_TRUE(QFile::rename(log, log + u".1"_s));
    reload(manager);
    EXPECT_THAT(contentOf(log).toStdString(), HasSubstr("The settings were read anew"));
    EXPECT_EQ(contentOf(log + u".1"_s).count("The settings were read anew"), 0);
    EXPECT_EQ(QFileInfo(log).permissions() & QFile::Permissions(0x0077), QFile::Permissions());
    EXPECT_EQ(stopProgram(), 0);
}

} // namespace tilltest
