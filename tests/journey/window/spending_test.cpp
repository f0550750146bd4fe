#include "tests/journey/window/cashier.h"

#include "host/network/restclient.h"
#include "tests/support/httpserver.h"

#include <QLineEdit>
#include <QPushButton>

using namespace Qt::StringLiterals;
using test_support::HttpAnswer;
using test_support::HttpServer;
using testing::HasSubstr;

namespace windowtest {

namespace {

const QString card = u"2000000000055"_s;
const QString rightCode = u"1234"_s;

/// Spends a hundred points; the code's dialog is answered by `act`.
void spendWithCode(Cashier& cashier, const std::function<void(QDialog&)>& act)
{
    cashier.sell(card);
    cashier.atDialog(act);
    cashier.spend(u"100"_s);
}

double spent(Cashier& cashier) { return cashier.model().spentPoints(); }

} // namespace

TEST(WindowSpending, MakesPointsADiscountAndPays)
{
    Cashier cashier;
    cashier.sell(card);
    cashier.spend(u"100"_s);
    EXPECT_EQ(spent(cashier), 100) << cashier.notice().toStdString();
    EXPECT_EQ(cashier.notice(), u"Списано баллов: 100,00"_s);
    EXPECT_THAT(cashier.screen().toStdString(), HasSubstr("478,90 ₽"));
    cashier.press(Qt::Key_F9);
    EXPECT_FALSE(cashier.checkout().receipt());
    EXPECT_THAT(cashier.screen().toStdString(), HasSubstr("Начислено баллов: "));
}

TEST(WindowSpending, MoreThanTheLimitIsRefusedWithTheReason)
{
    Cashier cashier;
    cashier.sell(card);
    cashier.spend(u"5000"_s);
    EXPECT_EQ(spent(cashier), 0);
    EXPECT_THAT(cashier.notice().toStdString(), HasSubstr("Можно списать не больше "));
}

TEST(WindowSpending, TheBalanceFromBeforeIsNotShownAsThatOfNow)
{
    Cashier cashier;
    cashier.sell(card);
    cashier.spend(u"100"_s);
    EXPECT_THAT(cashier.screen().toStdString(), HasSubstr("Осталось: 200,00"));
    EXPECT_THAT(cashier.status().toStdString(), HasSubstr("Баланс — до списания"));
    cashier.touch(u"Обновить баланс"_s);
    EXPECT_THAT(cashier.screen().toStdString(), HasSubstr("Баланс: 200,00"));
    EXPECT_THAT(cashier.status().toStdString(), HasSubstr("Баланс на "));
}

TEST(WindowSpending, WithSharesThatAreNotThisReceiptsIsAskedForAgainBeforeItCanBePaid)
{
    Cashier cashier;
    cashier.sell(card);
    cashier.spoilTheNext(u"force-payment-c2b"_s,
                         R"("fault":"type","field":"data.newRecipientDetails.0.position","as":"list")");
    cashier.spend(u"100"_s);
    EXPECT_EQ(cashier.model().state(), till::State::SpendingUnknown);
    EXPECT_THAT(cashier.notice().toStdString(),
                HasSubstr("баллы могли списаться. F9 повторит то же списание"));
    EXPECT_EQ(spent(cashier), 0);
    cashier.press(Qt::Key_F9);
    EXPECT_EQ(spent(cashier), 100) << "the service repeats its answer";
    EXPECT_TRUE(cashier.checkout().receipt()) << "it is not paid yet";
}

TEST(WindowSpending, PositionsStayOnceThePointsAreSpent)
{
    Cashier cashier;
    cashier.sell(card);
    cashier.spend(u"100"_s);
    cashier.press(Qt::Key_F6);
    EXPECT_EQ(cashier.checkout().receipt()->getGoodsItems().size(), 2);
}

TEST(WindowSpending, TheCodeIsAskedForExactlyAsThePluginWantsIt)
{
    Cashier cashier({.smsVerification = true});
    spendWithCode(cashier, [&](QDialog& dialog) {
        EXPECT_EQ(dialog.objectName(), u"inputKyrConfirmCode"_s);
        EXPECT_EQ(dialog.windowTitle(), u"Подтверждение списания"_s);
        QStringList buttons;
        for (const auto* button : dialog.findChildren<QPushButton*>())
            buttons.append(button->accessibleName());
        EXPECT_TRUE(buttons.contains(u"ОК"_s));
        EXPECT_TRUE(buttons.contains(u"Отмена"_s));
        EXPECT_TRUE(buttons.contains(u"7"_s)) << "it asks for digits";
        EXPECT_EQ(cashier.window().waitingText(), QString()) << "nothing lies over the question";
        cashier.press(Qt::Key_Return); // empty is no answer
        EXPECT_TRUE(dialog.isVisible());
        cashier.type(rightCode);
        cashier.press(Qt::Key_Return);
    });
    EXPECT_EQ(cashier.dialogs(), 1);
    EXPECT_EQ(spent(cashier), 100) << cashier.notice().toStdString();
}

TEST(WindowSpending, TheCodeCanBeTouchedIn)
{
    Cashier cashier({.smsVerification = true});
    spendWithCode(cashier, [&](QDialog&) {
        for (const QChar digit : u"12354"_s)
            cashier.touch(digit);
        cashier.touch(u"Стереть"_s);
        cashier.touch(u"Стереть"_s);
        cashier.touch(u"4"_s);
        cashier.touch(u"ОК"_s);
    });
    EXPECT_EQ(spent(cashier), 100) << cashier.notice().toStdString();
}

TEST(WindowSpending, AWrongCodeSpendsNothingAndIsSaid)
{
    Cashier cashier({.smsVerification = true});
    spendWithCode(cashier, [&](QDialog&) {
        cashier.type(u"9999"_s);
        cashier.press(Qt::Key_Return);
    });
    EXPECT_EQ(spent(cashier), 0);
    EXPECT_FALSE(cashier.notice().isEmpty());
    EXPECT_FALSE(cashier.checkout().unknownSpending());
}

TEST(WindowSpending, TheQuestionForTheCodeSaysHowMuchAndWhereItWent)
{
    Cashier cashier({.smsVerification = true});
    spendWithCode(cashier, [&](QDialog& dialog) {
        EXPECT_THAT(wordsOf(dialog), HasSubstr("Списать баллов: 100,00"));
        EXPECT_THAT(wordsOf(dialog), HasSubstr("Код отправлен на …0001"));
        EXPECT_THAT(wordsOf(dialog), HasSubstr("Попытка одна: потом придёт новый код"));
        cashier.press(Qt::Key_Escape);
    });
    EXPECT_EQ(cashier.dialogs(), 1);
}

TEST(WindowSpending, APhoneThatTheServiceDoesNotTellIsNotMadeUp)
{
    HttpServer server;
    server.enqueue(HttpAnswer::status(200, R"({"data":{"card_data":{"status":3}}})"));
    server.enqueue(HttpAnswer::status(200, R"({"data":{"accounts_data":[{"avialable":"300"}]}})"));
    for (int i = 0; i < 2; ++i) // the limit, and once more when the points are spent
        server.enqueue(HttpAnswer::status(
            200, R"({"data":{"receipt_details":[{"parameters":{"max_payment_bonus":200}}]}})"));
    server.enqueue(HttpAnswer::status(200, R"({"data":{"approve_id":1}})"));
    Cashier cashier({.smsVerification = true, .serverUrl = server.url().toString()});
    spendWithCode(cashier, [&](QDialog& dialog) {
        EXPECT_THAT(wordsOf(dialog), HasSubstr("Код отправлен покупателю, телефон служба не назвала"));
        cashier.press(Qt::Key_Escape);
    });
    EXPECT_EQ(cashier.dialogs(), 1);
}

TEST(WindowSpending, AfterAWrongCodeEnterSendsAnotherForTheSamePoints)
{
    Cashier cashier({.smsVerification = true});
    spendWithCode(cashier, [&](QDialog&) {
        cashier.type(u"9999"_s);
        cashier.press(Qt::Key_Return);
    });
    EXPECT_EQ(cashier.notice(), u"Неверный код подтверждения. Enter — ещё раз: придёт новый код"_s);
    EXPECT_EQ(cashier.takeBeeps(), 1);
    EXPECT_EQ(cashier.focus(), u"Сколько баллов списать"_s);
    cashier.atDialog([&](QDialog& dialog) {
        EXPECT_THAT(wordsOf(dialog), HasSubstr("Списать баллов: 100,00"));
        EXPECT_THAT(wordsOf(dialog), HasSubstr("Это новый код, прежний не подойдёт"));
        cashier.type(rightCode);
        cashier.press(Qt::Key_Return);
    });
    cashier.press(Qt::Key_Return);
    EXPECT_EQ(cashier.dialogs(), 2);
    EXPECT_EQ(spent(cashier), 100) << cashier.notice().toStdString();
}

TEST(WindowSpending, AfterAWrongCodeForAllPointsEnterSendsAnotherToo)
{
    Cashier cashier({.smsVerification = true});
    cashier.sell(card);
    cashier.atDialog([&](QDialog&) {
        cashier.type(u"9999"_s);
        cashier.press(Qt::Key_Return);
    });
    cashier.press(Qt::Key_F7, Qt::ShiftModifier);
    cashier.atDialog([&](QDialog&) {
        cashier.type(rightCode);
        cashier.press(Qt::Key_Return);
    });
    cashier.press(Qt::Key_Return);
    EXPECT_EQ(spent(cashier), 289.45) << cashier.notice().toStdString();
}

TEST(WindowSpending, AnotherCodeIsSentFromTheQuestionAndThePointsAreSpentOnce)
{
    Cashier cashier({.smsVerification = true});
    spendWithCode(cashier, [&](QDialog&) {
        cashier.atDialog([&](QDialog& second) {
            EXPECT_THAT(wordsOf(second), HasSubstr("Это новый код, прежний не подойдёт"));
            cashier.type(rightCode);
            cashier.press(Qt::Key_Return);
        });
        cashier.touch(u"Отправить ещё раз"_s);
    });
    EXPECT_EQ(cashier.dialogs(), 2);
    EXPECT_EQ(spent(cashier), 100) << cashier.notice().toStdString();
    RestClient codes;
    codes.get(QUrl(cashier.till().serviceUrl() + u"stand/codes"_s), {}, {});
    const QVariantList sent = codes.getResponse().toList();
    ASSERT_EQ(sent.size(), 2);
    EXPECT_EQ(sent[0].toMap().value(u"state"_s), u"replaced"_s);
    EXPECT_EQ(sent[1].toMap().value(u"state"_s), u"confirmed"_s);
    cashier.touch(u"Обновить баланс"_s);
    EXPECT_THAT(cashier.screen().toStdString(), HasSubstr("Баланс: 200,00"));
}

TEST(WindowSpending, AnotherCodeThatIsNotTakenEitherIsNoFailure)
{
    Cashier cashier({.smsVerification = true});
    spendWithCode(cashier, [&](QDialog&) {
        cashier.atDialog([&](QDialog& second) {
            EXPECT_THAT(wordsOf(second), HasSubstr("Это новый код"));
            cashier.press(Qt::Key_Escape);
        });
        cashier.press(Qt::Key_F5);
    });
    EXPECT_EQ(cashier.dialogs(), 2);
    EXPECT_EQ(cashier.notice(), u"Пользователь отменил ввод кода"_s);
    EXPECT_EQ(cashier.takeBeeps(), 0) << "the cashier chose it";
}

TEST(WindowSpending, BlanksOfACodeAreKeptSoItIsAnother)
{
    Cashier cashier({.smsVerification = true});
    QByteArray sent;
    utils::Registration observing;
    spendWithCode(cashier, [&](QDialog&) {
        observing =
            RestClient::observe([&sent](const RestExchange& exchange) { sent = exchange.requestBody; });
        cashier.type(u" 1234 "_s);
        cashier.press(Qt::Key_Return);
    });
    EXPECT_THAT(sent.toStdString(), HasSubstr("\" 1234 \""));
}

TEST(WindowSpending, ACancelledCodeSpendsNothing)
{
    Cashier cashier({.smsVerification = true});
    spendWithCode(cashier, [&](QDialog&) { cashier.press(Qt::Key_Escape); });
    EXPECT_EQ(spent(cashier), 0);
    EXPECT_EQ(cashier.notice(), u"Пользователь отменил ввод кода"_s);
    EXPECT_EQ(cashier.model().notice().kind, till::window::Notice::Kind::Plain) << "the cashier chose it";
    EXPECT_EQ(cashier.takeBeeps(), 0);
}

TEST(WindowSpending, TheMessageOfThePluginIsShownWhileItConfirmsTheCode)
{
    Cashier cashier({.smsVerification = true});
    QString shown;
    utils::Registration observing;
    spendWithCode(cashier, [&](QDialog&) {
        observing = RestClient::observe([&](const RestExchange&) { shown = cashier.window().waitingText(); });
        cashier.type(rightCode);
        cashier.press(Qt::Key_Return);
    });
    EXPECT_EQ(shown, u"Обращение к системе лояльности"_s);
    EXPECT_EQ(cashier.window().waitingText(), QString());
}

TEST(WindowUnknown, OffersTheTwoWaysOutAndNothingElse)
{
    Cashier cashier;
    cashier.sell(card);
    cashier.loseTheNextSpending();
    cashier.spend(u"100"_s);
    ASSERT_TRUE(cashier.checkout().unknownSpending()) << cashier.notice().toStdString();
    picture(cashier.window(), u"unknown"_s);
    EXPECT_THAT(cashier.notice().toStdString(), HasSubstr("баллы могли списаться"));
    EXPECT_THAT(cashier.status().toStdString(), HasSubstr("Исход списания неизвестен"));
    QStringList offered;
    for (const auto* button : cashier.window().findChildren<QPushButton*>()) {
        if (button->isVisible() && button->isEnabled() && !button->isCheckable())
            offered.append(button->accessibleName());
    }
    EXPECT_THAT(offered,
                testing::UnorderedElementsAre(u"Коды СМС"_s, u"Повторить списание"_s, u"Отменить чек"_s));
    cashier.press(Qt::Key_F9); // the same spending again
    EXPECT_FALSE(cashier.checkout().unknownSpending()) << cashier.notice().toStdString();
    EXPECT_EQ(spent(cashier), 100);
    cashier.press(Qt::Key_F9);
    EXPECT_FALSE(cashier.checkout().receipt());
}

TEST(WindowUnknown, IsEndedByAbandoningTheReceipt)
{
    Cashier cashier;
    cashier.sell(card);
    cashier.loseTheNextSpending();
    cashier.spend(u"100"_s);
    ASSERT_TRUE(cashier.checkout().unknownSpending()) << cashier.notice().toStdString();
    cashier.atDialog([&](QDialog&) { cashier.press(Qt::Key_Delete); });
    cashier.press(Qt::Key_F8);
    EXPECT_FALSE(cashier.checkout().receipt());
    cashier.sell(card);
    EXPECT_THAT(cashier.screen().toStdString(), HasSubstr("Баланс: 300,00")) << "the points came back";
}

} // namespace windowtest
