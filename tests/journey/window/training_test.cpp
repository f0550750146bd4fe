#include "tests/journey/window/cashier.h"

#include "tests/stand/standprocess.h"
#include "tests/support/rawdatabase.h"
#include "till/window/losses.h"
#include "till/window/style.h"

#include <QDir>
#include <QLabel>
#include <QProcess>
#include <QScreen>
#include <QTest>

using namespace Qt::StringLiterals;
using testing::HasSubstr;
using testing::Not;

namespace windowtest {

namespace {

constexpr int patienceMs = 30'000;

QString serviceOf(standtest::StandProcess& stand) { return QString::fromUtf8(stand.url()); }

} // namespace

TEST(WindowTraining, IsSaidInABandUnlessServiceAndDataDirectoryAreReal)
{
    standtest::StandProcess stand;
    const QString service = serviceOf(stand);
    struct Case
    {
        Cashier::Setup setup;
        std::string band;
    };
    const std::string none;
    const QList<Case> cases{
        {{}, "Учебный режим: баллы ненастоящие"},
        {{.keeps = false}, "Учебный режим: баллы ненастоящие, чеки пропадут при закрытии"},
        {{.serverUrl = service, .keeps = false}, "Учебный режим: чеки и очередь пропадут при закрытии"},
        {{.serverUrl = service}, none}};
    for (const Case& one : cases) {
        Cashier cashier(one.setup);
        QString band;
        for (const auto* label : cashier.window().findChildren<QLabel*>()) {
            if (label->property("role") == u"training"_s && label->isVisible())
                band = label->text();
        }
        EXPECT_EQ(band.toStdString(), one.band);
    }
}

TEST(WindowTraining, ClosingPromisesNoReceiptThatWillNotBeThere)
{
    Cashier cashier({.keeps = false});
    cashier.sell();
    cashier.atDialog([&](QDialog& dialog) {
        EXPECT_THAT(wordsOf(dialog), HasSubstr("не закрыт и пропадёт"));
        EXPECT_THAT(wordsOf(dialog), Not(HasSubstr("сохранён")));
        cashier.press(Qt::Key_Return);
    });
    EXPECT_FALSE(cashier.window().close());
    EXPECT_EQ(cashier.dialogs(), 1);
}

TEST(WindowTraining, ClosesOverWaitingMessagesThatWouldBeLostOnlyWhenToldTo)
{
    Cashier cashier({.keeps = false});
    cashier.sell(u"2000000000055"_s);
    cashier.till().setServiceUp(false);
    cashier.press(Qt::Key_F9);
    ASSERT_EQ(cashier.till().queue().waitingCount(), 1) << cashier.notice().toStdString();
    for (const Qt::Key key : {Qt::Key_Return, Qt::Key_Delete}) {
        cashier.atDialog([&](QDialog& dialog) {
            EXPECT_THAT(wordsOf(dialog), HasSubstr("Не отправлено службе сообщений: 1. Они пропадут"));
            cashier.press(key);
        });
        EXPECT_EQ(cashier.window().close(), key == Qt::Key_Delete);
    }
    EXPECT_EQ(cashier.dialogs(), 2);
}

TEST(WindowTraining, MessagesThatAreKeptAreNoReasonToStay)
{
    Cashier cashier;
    cashier.sell();
    cashier.press(Qt::Key_F9);
    ASSERT_EQ(cashier.till().queue().waitingCount(), 1);
    EXPECT_TRUE(cashier.window().close());
    EXPECT_EQ(cashier.dialogs(), 0);
}

TEST(WindowTraining, ItsEndNamesTheMessagesThatAreLostWithIt)
{
    for (const bool keeps : {false, true}) {
        Cashier cashier({.keeps = keeps});
        EXPECT_EQ(till::window::lossText(cashier.till()), QString());
        cashier.sell(u"2000000000055"_s);
        const QString receipt = cashier.till().checkout().receipt()->getIdentifier();
        cashier.till().setServiceUp(false);
        cashier.press(Qt::Key_F9);
        ASSERT_EQ(cashier.till().queue().waitingCount(), 1) << cashier.notice().toStdString();
        EXPECT_EQ(till::window::lossText(cashier.till()),
                  keeps ? QString()
                        : u"no data directory keeps what was not sent: payment-b2c of "_s + receipt);
    }
}

TEST(WindowProgram, MakesItsLettersAsLargeAsAskedWhereTheScreenHasRoom)
{
    const auto refusal = [](const QString& percent) {
        QProcess program;
        program.start(QStringLiteral(TILL_PROGRAM), {u"window"_s, u"--scale"_s, percent});
        EXPECT_TRUE(program.waitForFinished(patienceMs));
        EXPECT_EQ(program.exitCode(), 2);
        return program.readAllStandardError().toStdString();
    };
    for (const QString& percent : {u"99"_s, u"201"_s})
        EXPECT_THAT(refusal(percent), HasSubstr("--scale: expected a percentage from 100 to 200"));
    EXPECT_THAT(refusal(u"large"_s),
                HasSubstr("--scale: expected a whole number above 0 instead of 'large'"));

    const int most =
        till::window::fittingScale(200, QGuiApplication::primaryScreen()->availableGeometry().size());
    ASSERT_LT(most, 200) << "the screen of tests is too small for the largest";
    const auto complaint = u"letters at %1 %: the screen has no room for 200 %"_s.arg(most).toStdString();
    for (const auto& [percent, isTooLarge] : {std::pair(u"100"_s, false), std::pair(u"200"_s, true)}) {
        const QTemporaryDir data;
        QProcess program;
        program.start(QStringLiteral(TILL_PROGRAM),
                      {u"window"_s, u"--demo"_s, u"--scale"_s, percent, u"--data-dir"_s, data.path()});
        EXPECT_TRUE(
            QTest::qWaitFor([&] { return QFile::exists(data.filePath(u"till.sqlite"_s)); }, patienceMs));
        program.terminate();
        ASSERT_TRUE(program.waitForFinished(patienceMs));
        const std::string said = program.readAllStandardError().toStdString();
        EXPECT_EQ(said.find(complaint) != std::string::npos, isTooLarge) << said;
    }
}

TEST(WindowProgram, WithAServiceKeepsItsDataWhereTheToolsLook)
{
    standtest::StandProcess stand;
    const QTemporaryDir home;
    QProcess program;
    auto environment = QProcessEnvironment::systemEnvironment();
    environment.insert(u"XDG_STATE_HOME"_s, home.path());
    environment.remove(u"STATE_DIRECTORY"_s);
    environment.remove(u"KYR_DATA_DIR"_s);
    program.setProcessEnvironment(environment);
    program.start(QStringLiteral(TILL_PROGRAM),
                  {u"window"_s, u"--demo"_s, u"--server-url"_s, serviceOf(stand)});
    const auto isOpen = [&home] {
        return !test_support::openReceiptIn(home.filePath(u"kyr-loyalty"_s)).isEmpty();
    };
    EXPECT_TRUE(QTest::qWaitFor(isOpen, patienceMs)) << program.readAllStandardError().toStdString();
    program.terminate();
    ASSERT_TRUE(program.waitForFinished(patienceMs));
    EXPECT_TRUE(isOpen());
}

} // namespace windowtest
