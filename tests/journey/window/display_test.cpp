#include "tests/journey/window/cashier.h"

#include "till/window/customerdisplay.h"

#include "tests/stand/standprocess.h"

#include <QApplication>
#include <QLabel>
#include <QScrollBar>
#include <QTest>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;
using testing::HasSubstr;
using testing::Not;
using till::window::CustomerDisplay;

namespace windowtest {

namespace {

const QString card = u"2000000000055"_s;

/// The customer's window beside the cashier's.
class Display
{
public:
    explicit Display(Cashier& cashier, std::chrono::milliseconds thanks = std::chrono::hours(1))
        : m_window(cashier.model(), cashier.waiting(), thanks)
    {
        m_window.showBeside(cashier.window());
    }

    [[nodiscard]] CustomerDisplay& window() { return m_window; }
    [[nodiscard]] QTableWidget& positions() { return *m_window.findChild<QTableWidget*>(); }
    /// All that the customer can read.
    [[nodiscard]] std::string text()
    {
        QStringList texts;
        for (const auto* label : m_window.findChildren<QLabel*>()) {
            if (label->isVisible() && !label->text().isEmpty())
                texts.append(label->text());
        }
        for (int row = 0; positions().isVisible() && row < positions().rowCount(); ++row)
            texts.append(positions().item(row, 0)->text() + u" = "_s + positions().item(row, 1)->text());
        return texts.join(u'\n').toStdString();
    }

private:
    CustomerDisplay m_window;
};

/// The sums and words that lie outside, or are cut.
std::string cutOf(CustomerDisplay& window)
{
    QStringList cut;
    for (const auto* label : window.findChildren<QLabel*>()) {
        if (!label->isVisible() || label->text().isEmpty())
            continue;
        const QRect place(label->mapTo(&window, QPoint(0, 0)), label->size());
        const int needed =
            label->wordWrap() ? label->heightForWidth(label->width()) : label->minimumSizeHint().height();
        const bool isWide = !label->wordWrap() && label->minimumSizeHint().width() > label->width();
        if (!window.rect().contains(place) || needed > label->height() || isWide)
            cut.append(label->text());
    }
    return cut.join(u'\n').toStdString();
}

} // namespace

TEST(CustomerDisplay, GreetsUntilThereIsSomethingOnTheReceipt)
{
    Cashier cashier;
    Display display(cashier);
    EXPECT_EQ(display.text(), "Учебный режим\nДобро пожаловать!");
    picture(display.window(), u"display-greeting"_s);
    cashier.press(Qt::Key_F9);
    EXPECT_EQ(display.text(), "Учебный режим\nДобро пожаловать!");
}

TEST(CustomerDisplay, ShowsPositionsSumsPointsAndTheMaskedCard)
{
    Cashier cashier;
    Display display(cashier);
    cashier.scan(u"4601"_s);
    cashier.scan(u"4601"_s);
    cashier.scan(u"4607"_s);
    cashier.model().setDiscount(2, 50);
    cashier.scan(card);
    const std::string before = display.text();
    EXPECT_THAT(before, HasSubstr("Молоко 3,2 %\n2 × 89,90 = 179,80"));
    EXPECT_THAT(before, HasSubstr("Кофе, 250 г\n1 × 489,00 · скидка −50,00 = 489,00"));
    EXPECT_THAT(before, HasSubstr("Карта …0055"));
    EXPECT_THAT(before, HasSubstr("668,80 ₽")); // before discounts
    EXPECT_THAT(before, HasSubstr("−50,00 ₽"));
    EXPECT_THAT(before, HasSubstr("618,80 ₽"));
    EXPECT_THAT(before, Not(HasSubstr("Баллами")));
    cashier.spend(u"100"_s);
    const std::string after = display.text();
    EXPECT_THAT(after, HasSubstr("−100,00 ₽"));
    EXPECT_THAT(after, HasSubstr("518,80 ₽"));
    EXPECT_THAT(after, HasSubstr("Будет начислено баллов: "));
    EXPECT_THAT(after, HasSubstr("1 × 489,00 · скидка −50,00 = 489,00")) << "points are told below";
    const QString number = cashier.checkout().card()->getNumber().toString();
    EXPECT_THAT(after, Not(HasSubstr(number.toStdString())));
    const QString name = cashier.checkout().card()->getCard()->getClient()->getName();
    ASSERT_FALSE(name.isEmpty());
    EXPECT_THAT(after, HasSubstr(name.toStdString()));
    picture(display.window(), u"display"_s);
    EXPECT_EQ(cutOf(display.window()), "");
}

TEST(CustomerDisplay, ThanksWithWhatWasPaidAndEarnedThenForgetsIt)
{
    Cashier cashier;
    Display display(cashier, std::chrono::milliseconds(300));
    cashier.sell(card);
    cashier.press(Qt::Key_F9);
    EXPECT_THAT(
        display.text(),
        HasSubstr("Спасибо за покупку!\nОплачено 578,90 ₽\nНачислено "
                  "баллов: "));
    picture(display.window(), u"display-thanks"_s);
    EXPECT_TRUE(QTest::qWaitFor([&] { return display.text() == "Учебный режим\nДобро пожаловать!"; }))
        << display.text();
}

TEST(CustomerDisplay, ThanksGiveWayToTheNextCustomerAndAReturnIsNoPurchase)
{
    Cashier cashier;
    Display display(cashier);
    cashier.sell();
    cashier.press(Qt::Key_F9);
    EXPECT_THAT(display.text(), HasSubstr("Оплачено 578,90 ₽"));
    EXPECT_THAT(display.text(), Not(HasSubstr("Начислено")));
    cashier.atDialog([&](QDialog&) {
        cashier.touch(u"Вернуть всё"_s);
        cashier.press(Qt::Key_F9);
    });
    cashier.press(Qt::Key_F10);
    EXPECT_THAT(display.text(), HasSubstr("К возврату"));
    cashier.press(Qt::Key_F9);
    EXPECT_THAT(display.text(),
                HasSubstr("Возврат оформлен\nВозвращено 578,90 ₽"));
    cashier.press(Qt::Key_F9);
    EXPECT_EQ(display.text(), "Учебный режим\nДобро пожаловать!");
}

TEST(CustomerDisplay, SaysThatTheCodeIsWantedAndThatARequestRuns)
{
    Cashier cashier({.smsVerification = true});
    Display display(cashier);
    cashier.sell(card);
    EXPECT_THAT(display.text(), Not(HasSubstr("Подождите")));
    std::string meanwhile;
    const auto note =
        QObject::connect(&cashier.waiting(), &till::window::Waiting::changed, &display.window(), [&] {
            if (cashier.waiting().active())
                meanwhile = display.text();
        });
    cashier.atDialog([&](QDialog&) {
        EXPECT_THAT(display.text(), HasSubstr("Назовите кассиру код из СМС"));
        picture(display.window(), u"display-code"_s);
        cashier.type(u"1234"_s);
        cashier.press(Qt::Key_Return);
    });
    cashier.spend(u"100"_s);
    EXPECT_EQ(cashier.model().spentPoints(), 100) << cashier.notice().toStdString();
    EXPECT_THAT(meanwhile, HasSubstr("Подождите, пожалуйста"));
    EXPECT_THAT(display.text(), Not(HasSubstr("Подождите")));
    EXPECT_THAT(display.text(), Not(HasSubstr("Назовите")));
    QObject::disconnect(note);
}

TEST(CustomerDisplay, AsksTheCustomerForNothingWhenTheCashierTypesAQuantity)
{
    Cashier cashier;
    Display display(cashier);
    cashier.sell();
    cashier.atDialog([&](QDialog&) {
        EXPECT_THAT(display.text(), Not(HasSubstr("код из СМС")));
        cashier.press(Qt::Key_Escape);
    });
    cashier.press(Qt::Key_F4);
    EXPECT_EQ(cashier.dialogs(), 1);
}

TEST(CustomerDisplay, SaysNothingOfErrorsAndQueue)
{
    Cashier cashier;
    Display display(cashier);
    cashier.sell(card);
    cashier.loseTheNextSpending();
    cashier.spend(u"100"_s);
    ASSERT_EQ(cashier.model().state(), till::State::SpendingUnknown);
    const std::string unknown = display.text();
    EXPECT_THAT(unknown, HasSubstr("Подождите, пожалуйста"));
    for (const char* word : {"служб", "потерян", "исход", "F9", "очеред", "Баланс"})
        EXPECT_THAT(unknown, Not(HasSubstr(word)));
}

TEST(CustomerDisplay, ScrollsToThePositionThatTheCashierIsAt)
{
    Cashier cashier;
    Display display(cashier);
    QList<till::Line> lines;
    for (int i = 1; i <= 200; ++i)
        lines.append(
            {.articul = QString::number(i),
             .name = u"Товар %1 с именем, которое не уместится ни на одной строке экрана покупателя, "
                     "сколько бы их ни было"_s.arg(i),
             .price = 9'999'999.99,
             .quantity = 1});
    cashier.model().openSale(lines);
    const auto isSeen = [&](int row) {
        return QTest::qWaitFor([&] {
            return display.positions().viewport()->rect().contains(
                display.positions().visualItemRect(display.positions().item(row, 0)));
        });
    };
    EXPECT_TRUE(isSeen(199));
    QElapsedTimer clock;
    clock.start();
    cashier.model().setQuantity(3, 5);
    EXPECT_LT(clock.elapsed(), 5000) << "milliseconds: both windows measure each position once";
    EXPECT_TRUE(isSeen(2));
    cashier.scan(u"4601"_s);
    EXPECT_TRUE(isSeen(200));
    picture(display.window(), u"display-many"_s);
    EXPECT_EQ(display.window().size(), QSize(800, 480));
    EXPECT_EQ(cutOf(display.window()), "");
}

TEST(CustomerDisplay, GrowsItsLettersWithItselfAndIsGrownByNothing)
{
    Cashier cashier;
    Display display(cashier);
    cashier.sell(card);
    cashier.spend(u"100"_s);
    for (const QSize size : {QSize(800, 480), QSize(1024, 768), QSize(1920, 1080), QSize(3840, 2160)}) {
        display.window().resize(size);
        EXPECT_TRUE(QTest::qWaitFor([&] { return cutOf(display.window()).empty(); }))
            << size.width() << ": " << cutOf(display.window());
        EXPECT_EQ(display.window().size(), size);
        EXPECT_GE(display.positions().fontMetrics().height(), size.height() / 32) << "too small to read";
        picture(display.window(), u"display-%1"_s.arg(size.width()));
    }
}

TEST(CustomerDisplay, LeavesTheKeysToTheCashierAndSurvivesNobody)
{
    Cashier cashier;
    Display display(cashier);
    EXPECT_TRUE(cashier.window().isActiveWindow());
    cashier.scan(u"4602"_s);
    EXPECT_EQ(cashier.checkout().receipt()->getGoodsItems().size(), 1);
    cashier.model().remove(1);
    QApplication::setQuitOnLastWindowClosed(true);
    const auto afterClosing = [](QWidget& window, std::chrono::milliseconds patience) {
        constexpr int goesOn = 7;
        QTimer::singleShot(0, &window, [&window] { window.close(); });
        QTimer::singleShot(patience, &window, [] { QCoreApplication::exit(goesOn); });
        return QApplication::exec();
    };
    EXPECT_EQ(afterClosing(display.window(), 200ms), 7) << "the till goes on";
    display.window().show();
    EXPECT_EQ(afterClosing(cashier.window(), 20s), 0) << "nobody is left but the customer";
    QApplication::setQuitOnLastWindowClosed(false);
}

TEST(CustomerDisplay, ShowsNoTrainingWhereItIsNone)
{
    standtest::StandProcess stand;
    Cashier cashier({.serverUrl = QString::fromUtf8(stand.url())});
    Display display(cashier);
    EXPECT_EQ(display.text(), "Добро пожаловать!");
}

} // namespace windowtest
