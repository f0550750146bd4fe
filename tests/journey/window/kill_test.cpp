#include "tests/journey/window/cashier.h"

#include "tests/stand/standprocess.h"
#include "tests/support/rawdatabase.h"
#include "tests/support/steps.h"

#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QTest>

using namespace Qt::StringLiterals;
using testing::HasSubstr;

namespace windowtest {

namespace {

constexpr int patienceMs = 30'000;

/// Plays the step in a till's shell and gives its line.
QJsonObject played(QProcess& shell, const story::Step& step)
{
    shell.write(step.json() + '\n');
    while (shell.state() == QProcess::Running && !shell.canReadLine() && shell.waitForReadyRead(patienceMs)) {
    }
    return QJsonDocument::fromJson(shell.readLine()).object();
}

} // namespace

TEST(WindowKill, WithTheOutcomeUnknownComesBackToTheTwoWaysOut)
{
    const QTemporaryDir kept;
    standtest::StandProcess stand({u"--fault"_s, u"force-payment-c2b:apply-then-drop:count=1"_s});
    const QString url = QString::fromUtf8(stand.url());
    QFile settings(kept.filePath(u"till.toml"_s));
    ASSERT_TRUE(settings.open(QIODevice::WriteOnly));
    settings.write("[KYRLoyalty]\nuser = \"shop\"\npassword = \"secret-of-the-shop\"\nserverUrl = \"" +
                   url.toUtf8() + "\"\n");
    settings.close();
    const QString data = kept.filePath(u"data"_s);
    QProcess shell;
    shell.start(QStringLiteral(TILL_PROGRAM),
                {u"shell"_s, u"--json"_s, u"--data-dir"_s, data, u"--config"_s, settings.fileName()});
    ASSERT_TRUE(shell.waitForStarted());
    played(shell, story::openSale("R-1", {story::tea(300)}));
    played(shell, story::identifyByCard("2000000000055"));
    const QJsonObject line = played(shell, story::spendPoints(100));
    ASSERT_EQ(line.value(u"unknown"_s).toDouble(), 100) << QJsonDocument(line).toJson().toStdString();
    shell.kill();
    ASSERT_TRUE(shell.waitForFinished(patienceMs));

    Cashier cashier({.serverUrl = url, .dataDirectory = data});
    ASSERT_EQ(cashier.model().state(), till::State::SpendingUnknown);
    EXPECT_THAT(cashier.notice().toStdString(), HasSubstr("баллы могли списаться"));
    EXPECT_THAT(cashier.status().toStdString(), HasSubstr("Исход списания неизвестен"));
    EXPECT_THAT(cashier.screen().toStdString(), HasSubstr("Списание 100,00: исход неизвестен"));
    cashier.press(Qt::Key_F9);
    EXPECT_EQ(cashier.model().spentPoints(), 100) << cashier.notice().toStdString();
    cashier.press(Qt::Key_F9);
    EXPECT_FALSE(cashier.checkout().receipt()) << cashier.notice().toStdString();
}

TEST(WindowProgram, EndsWithoutAQuestionWhenTheSystemAsksItToAndKeepsTheReceipt)
{
    const QTemporaryDir kept;
    QProcess program;
    program.start(QStringLiteral(TILL_PROGRAM), {u"window"_s, u"--demo"_s, u"--data-dir"_s, kept.path()});
    ASSERT_TRUE(
        QTest::qWaitFor([&] { return !test_support::openReceiptIn(kept.path()).isEmpty(); }, patienceMs))
        << program.readAllStandardError().toStdString();
    program.terminate();
    ASSERT_TRUE(program.waitForFinished(patienceMs));
    EXPECT_EQ(program.exitStatus(), QProcess::NormalExit);
    EXPECT_EQ(program.exitCode(), 0);
    EXPECT_TRUE(!test_support::openReceiptIn(kept.path()).isEmpty());
}

} // namespace windowtest
