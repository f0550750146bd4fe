#include "tests/journey/window/cashier.h"
#include "tests/journey/window/slowservice.h"
#include "tests/support/rawdatabase.h"

#include <QApplication>
#include <QProcess>
#include <QTest>
#include <QWindow>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;
using testing::HasSubstr;

namespace windowtest {

namespace {

/// Starts the search for a card, and does that once the screen says so.
void whileSearching(Cashier& cashier, const std::function<void()>& act)
{
    cashier.sell();
    cashier.probe().takeLongest();
    cashier.atRequest(act);
    cashier.identify(u"2000000000055"_s);
    EXPECT_EQ(cashier.requests(), 1) << "the screen said nothing while the request ran";
}

void keyFromTheScreen(Qt::Key key)
{
    qt_handleKeyEvent(QGuiApplication::focusWindow(), QEvent::KeyPress, key, Qt::NoModifier);
    qt_handleKeyEvent(QGuiApplication::focusWindow(), QEvent::KeyRelease, key, Qt::NoModifier);
}

} // namespace

TEST(WindowWaiting, GoesOnPaintingWhileARequestRuns)
{
    const SlowService service(1s);
    Cashier cashier({.serverUrl = service.url()});
    int before = 0;
    whileSearching(cashier, [&] {
        before = cashier.probe().paintings();
        EXPECT_EQ(cashier.window().waitingText(), u"Обращение к системе лояльности"_s);
        picture(cashier.window(), u"waiting"_s);
    });
    EXPECT_GE(cashier.probe().paintings() - before, 5);
    const auto longest = cashier.probe().takeLongest();
    testing::Test::RecordProperty("longest_without_painting_ms", static_cast<int>(longest));
    EXPECT_EQ(service.requests(), 1);
}

TEST(WindowWaiting, RefusesKeysVisiblyAndLetsNoneComeLate)
{
    const SlowService service;
    Cashier cashier({.serverUrl = service.url()});
    QString screen;
    whileSearching(cashier, [&] {
        keyFromTheScreen(Qt::Key_F9); // would pay
        QTimer::singleShot(50, &cashier.window(), [&] { screen = cashier.screen(); });
    });
    EXPECT_THAT(screen.toStdString(), HasSubstr("Нажатие не принято"));
    EXPECT_TRUE(cashier.checkout().receipt()) << "the key was kept and paid";
    cashier.press(Qt::Key_F9);
    EXPECT_FALSE(cashier.checkout().receipt()) << "keys count again";
}

TEST(WindowWaiting, DoesNotCloseInTheMiddleOfARequest)
{
    const SlowService service;
    Cashier cashier({.serverUrl = service.url()});
    whileSearching(cashier, [&] {
        EXPECT_FALSE(cashier.window().close());
        EXPECT_THAT(cashier.screen().toStdString(), HasSubstr("Закрыть нельзя"));
    });
    EXPECT_TRUE(cashier.window().isVisible());
}

TEST(WindowWaiting, ClosingWithAnOpenReceiptSaysWhereItStays)
{
    const QTemporaryDir kept;
    QString number;
    {
        Cashier cashier({.dataDirectory = kept.path()});
        cashier.sell();
        number = cashier.checkout().receipt()->getIdentifier();
        for (const Qt::Key no : {Qt::Key_Escape, Qt::Key_Return}) {
            cashier.atDialog([&](QDialog&) { cashier.press(no); });
            EXPECT_FALSE(cashier.window().close());
        }
        cashier.atDialog([&](QDialog& dialog) {
            picture(dialog, u"closing"_s);
            cashier.press(Qt::Key_Delete);
        });
        EXPECT_TRUE(cashier.window().close());
    }
    Cashier cashier({.dataDirectory = kept.path()});
    ASSERT_TRUE(cashier.checkout().receipt());
    EXPECT_EQ(cashier.checkout().receipt()->getIdentifier(), number);
    EXPECT_EQ(cashier.notice(), u"Найден открытый чек "_s + number + u": можно продолжать"_s);
    EXPECT_THAT(cashier.screen().toStdString(), HasSubstr("578,90 ₽"));
}

TEST(WindowRestart, AfterAKillTheReceiptIsOnTheScreenAndALineSaysSo)
{
    const QTemporaryDir kept;
    QProcess program;
    program.start(QStringLiteral(TILL_PROGRAM),
                  {u"window"_s, u"--demo"_s, u"--data-dir"_s, kept.path()}); // offscreen, as this program is
    ASSERT_TRUE(QTest::qWaitFor([&] { return !test_support::openReceiptIn(kept.path()).isEmpty(); }, 20'000))
        << program.readAllStandardError().toStdString();
    program.kill();
    ASSERT_TRUE(program.waitForFinished());

    Cashier cashier({.dataDirectory = kept.path()});
    ASSERT_TRUE(cashier.checkout().receipt());
    EXPECT_EQ(cashier.checkout().receipt()->getGoodsItems().size(), 3);
    EXPECT_THAT(cashier.notice().toStdString(), HasSubstr("Найден открытый чек "));
    EXPECT_THAT(cashier.screen().toStdString(), HasSubstr("493,30 ₽"));
}

TEST(WindowProgram, WithoutADisplaySaysHowToSeeItAnyway)
{
    QProcess program;
    auto environment = QProcessEnvironment::systemEnvironment();
    for (const QString& name : {u"QT_QPA_PLATFORM"_s, u"DISPLAY"_s, u"WAYLAND_DISPLAY"_s})
        environment.remove(name);
    program.setProcessEnvironment(environment);
    program.start(QStringLiteral(TILL_PROGRAM), {u"window"_s});
    ASSERT_TRUE(program.waitForFinished());
    EXPECT_EQ(program.exitCode(), 2);
    EXPECT_THAT(program.readAllStandardError().toStdString(), HasSubstr("xvfb-run till window"));
}

} // namespace windowtest
