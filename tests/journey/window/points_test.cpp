#include "tests/journey/window/cashier.h"

#include "tests/stand/standprocess.h"
#include "tests/support/httpserver.h"
#include "till/checkout/screen.h"

#include <cmath>

using namespace Qt::StringLiterals;
using test_support::HttpAnswer;
using test_support::HttpServer;
using testing::HasSubstr;

namespace windowtest {

namespace {

const QString card = u"2000000000055"_s;

double spent(Cashier& cashier) { return cashier.model().spentPoints(); }

std::string screenOf(const Cashier& cashier) { return cashier.screen().toStdString(); }

/// Answers as the service gives them for a card with so many points, of which it lets so many be spent.
void tell(HttpServer& server, const QByteArray& balance, const QByteArray& limit)
{
    server.enqueue(HttpAnswer::status(200, R"({"data":{"card_data":{"status":3}}})"));
    server.enqueue(HttpAnswer::status(200, R"({"data":{"user_data":{},"accounts_data":[{"avialable":")" +
                                               balance + R"("}]}})"));
    server.enqueue(HttpAnswer::status(
        200, R"({"data":{"receipt_details":[{"parameters":{"max_payment_bonus":)" + limit + "}}]}}"));
}

} // namespace

TEST(WindowKeys, AreFewForEachKindOfSaleWithACard)
{
    struct Kind
    {
        std::string name;
        std::function<void(Cashier&)> spend;
        double spent;
        int most; ///< keys, but for the goods and the number of the card
    };
    const QList<Kind> kinds{
        {"no points", [](Cashier&) {}, 0, 2},
        {"an amount",
         [](Cashier& cashier) {
             cashier.type(u"5"_s);
             cashier.press(Qt::Key_Return);
         },
         5, 4},
        {"all points", [](Cashier& cashier) { cashier.press(Qt::Key_F7, Qt::ShiftModifier); }, 289.45, 3},
    };
    for (const Kind& kind : kinds) {
        for (const bool isScanned : {true, false}) {
            SCOPED_TRACE(kind.name + (isScanned ? ", scanned" : ", typed"));
            Cashier cashier;
            cashier.sell();
            cashier.takeKeys();
            int keys = 0;
            if (isScanned)
                cashier.scan(card);
            else {
                cashier.press(Qt::Key_F3);
                keys += cashier.takeKeys();
                cashier.type(card);
                cashier.press(Qt::Key_Return);
                cashier.takeKeys();
            }
            kind.spend(cashier);
            EXPECT_DOUBLE_EQ(spent(cashier), kind.spent) << cashier.notice().toStdString();
            cashier.press(Qt::Key_F9);
            EXPECT_FALSE(cashier.checkout().receipt());
            keys += cashier.takeKeys();
            EXPECT_LE(keys, kind.most);
        }
    }
}

TEST(WindowPoints, AreAllSpentAtATouch)
{
    Cashier cashier;
    cashier.sell(card);
    cashier.touch(u"Списать все баллы"_s);
    EXPECT_DOUBLE_EQ(spent(cashier), 289.45) << cashier.notice().toStdString();
    EXPECT_EQ(cashier.notice(), u"Списано баллов: 289,45"_s);
}

TEST(WindowPoints, AreAllSpentWhenTheLimitWasNotKnownYet)
{
    Cashier cashier;
    cashier.scan(card);
    cashier.scan(u"4601"_s);
    cashier.press(Qt::Key_F7, Qt::ShiftModifier);
    EXPECT_DOUBLE_EQ(spent(cashier), 44.95) << cashier.notice().toStdString();
}

TEST(WindowPoints, ThatCannotBeSpentAreRefusedWithTheReason)
{
    Cashier cashier;
    cashier.sell();
    cashier.press(Qt::Key_F7, Qt::ShiftModifier);
    EXPECT_THAT(cashier.notice().toStdString(), HasSubstr("Сначала найдите покупателя"));
    EXPECT_EQ(cashier.takeBeeps(), 1);
}

// The loyalty system spends points that are whole hundredths of money.
TEST(WindowPoints, AreAllSpentButForWhatMoneyHasNoHundredthsForAndThatIsSaid)
{
    Cashier cashier({.bonusRatio = u"10:1"_s});
    cashier.sell(card);
    cashier.press(Qt::Key_F9);
    cashier.sell(card);
    const double balance = cashier.checkout().card()->getBonusBalance().toDouble();
    ASSERT_NE(balance * 10, std::floor(balance * 10)) << "of tenths alone nothing can be seen";
    cashier.press(Qt::Key_F7, Qt::ShiftModifier);
    EXPECT_DOUBLE_EQ(spent(cashier), std::floor(balance * 10) / 100);
    const double gone = std::floor(balance * 10) / 10;
    EXPECT_EQ(cashier.notice(), u"Списано баллов: "_s + till::screen::amount(gone));
    EXPECT_THAT(screenOf(cashier), HasSubstr("Осталось: 0,05"));
}

TEST(WindowPoints, ShowTheirLimitBeforeAnAmountIsTyped)
{
    Cashier cashier;
    cashier.scan(card);
    cashier.scan(u"4601"_s);
    cashier.press(Qt::Key_F7);
    EXPECT_EQ(cashier.focus(), u"Сколько баллов списать"_s);
    EXPECT_THAT(screenOf(cashier), HasSubstr("Можно списать: 44,95"));
    EXPECT_THAT(screenOf(cashier), HasSubstr("Больше служба не разрешает"));
}

TEST(WindowPoints, ShowTheirLimitWhenAFingerOpensTheField)
{
    Cashier cashier;
    cashier.scan(card);
    cashier.scan(u"4601"_s);
    cashier.touch(u"Сколько баллов списать"_s);
    EXPECT_THAT(screenOf(cashier), HasSubstr("Можно списать: 44,95"));
}

TEST(WindowPoints, SayWhatLimitsThem)
{
    struct Case
    {
        QByteArray balance;
        QByteArray limit;
        std::string shown;
        std::string reason;
    };
    const QList<Case> cases{
        {"5000", "4000", "Можно списать: 578,90", "Больше чек не стоит"},
        {"50", "4000", "Можно списать: 50,00", "Больше нет на карте"},
        {"5000", "40", "Можно списать: 40,00", "Больше служба не разрешает"},
        {"0", "40", "Можно списать: 0,00", "На карте нет баллов"},
    };
    for (const Case& one : cases) {
        HttpServer server;
        tell(server, one.balance, one.limit);
        Cashier cashier({.serverUrl = server.url().toString()});
        cashier.sell(card);
        EXPECT_THAT(screenOf(cashier), HasSubstr(one.shown));
        EXPECT_THAT(screenOf(cashier), HasSubstr(one.reason));
    }
}

TEST(WindowExpectation, NamesTheEarningThatNobodyKnowsYet)
{
    Cashier cashier;
    cashier.sell(card);
    EXPECT_THAT(screenOf(cashier), HasSubstr("После чека: 300,00 и начисление (неизвестно)"));
    cashier.type(u"100"_s);
    EXPECT_THAT(screenOf(cashier), HasSubstr("После чека: 300,00 − 100,00 и начисление (неизвестно)"));
}

TEST(WindowExpectation, IsTheBalanceThatTheServiceTellsOnceTheReceiptIsPaid)
{
    Cashier cashier;
    cashier.sell(card);
    cashier.spend(u"100"_s);
    EXPECT_THAT(screenOf(cashier), HasSubstr("Осталось: 200,00"));
    EXPECT_THAT(screenOf(cashier), HasSubstr("После чека: 300,00 − 100,00 + 23,94 = 223,94"));
    cashier.press(Qt::Key_F9);
    cashier.identify(card);
    EXPECT_THAT(screenOf(cashier), HasSubstr("Баланс: 223,94"));
}

// The loyalty system tells the earning in money, on whose hundredths ten points for a rouble are rounded.
TEST(WindowExpectation, IsSaidToBeRoundedAtTenForARouble)
{
    Cashier cashier({.bonusRatio = u"10:1"_s});
    cashier.sell(card);
    cashier.spend(u"100"_s);
    EXPECT_THAT(screenOf(cashier), HasSubstr("Осталось: 200,00"));
    EXPECT_THAT(screenOf(cashier), HasSubstr("После чека: 300,00 − 100,00 + 284,40 ≈ 484,40"));
    cashier.press(Qt::Key_F9);
    cashier.identify(card);
    EXPECT_THAT(screenOf(cashier), HasSubstr("Баланс: 484,45"));
}

TEST(WindowExpectation, TakesABalanceToldAfterTheSpendingAsItIs)
{
    Cashier cashier;
    cashier.sell(card);
    cashier.spend(u"100"_s);
    cashier.touch(u"Обновить баланс"_s);
    EXPECT_THAT(screenOf(cashier), HasSubstr("Баланс: 200,00"));
    EXPECT_THAT(screenOf(cashier), HasSubstr("После чека: 200,00 + 23,94 = 223,94"));
}

TEST(WindowExpectation, OfABalanceFromBeforeTheStartIsNone)
{
    standtest::StandProcess stand;
    const QTemporaryDir directory;
    const Cashier::Setup setup{.serverUrl = QString::fromUtf8(stand.url()),
                               .dataDirectory = directory.path()};
    {
        Cashier cashier(setup);
        cashier.sell(card);
        cashier.spend(u"100"_s);
        ASSERT_EQ(spent(cashier), 100) << cashier.notice().toStdString();
    }
    const Cashier cashier(setup);
    EXPECT_THAT(screenOf(cashier), HasSubstr("Было: 300,00"));
    EXPECT_THAT(screenOf(cashier), HasSubstr("После чека: неизвестно"));
}

TEST(WindowExpectation, StaysWhenNothingWasSpent)
{
    Cashier cashier({.smsVerification = true});
    cashier.sell(card);
    cashier.atDialog([&](QDialog&) { cashier.press(Qt::Key_Escape); });
    cashier.spend(u"100"_s);
    EXPECT_THAT(screenOf(cashier), HasSubstr("Баланс: 300,00"));
    EXPECT_THAT(cashier.status().toStdString(), HasSubstr("Баланс на "));
}

TEST(WindowExpectation, IsNoneWhileASpendingIsUnknown)
{
    Cashier cashier;
    cashier.sell(card);
    cashier.loseTheNextSpending();
    cashier.spend(u"100"_s);
    EXPECT_THAT(screenOf(cashier), HasSubstr("После чека: неизвестно"));
    cashier.press(Qt::Key_F9); // the same again
    EXPECT_THAT(screenOf(cashier), HasSubstr("После чека: 300,00 − 100,00 + 23,94 = 223,94"));
}

} // namespace windowtest
