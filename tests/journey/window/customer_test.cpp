#include "tests/journey/window/cashier.h"

#include "tests/support/hostiletext.h"
#include "tests/support/httpserver.h"
#include "till/checkout/screen.h"

#include <QLabel>
#include <QListWidget>

using namespace Qt::StringLiterals;
using test_support::hostileText;
using test_support::hostileTextAsShown;
using test_support::HttpAnswer;
using test_support::HttpServer;
using test_support::jsonText;
using test_support::unprintableIn;
using testing::HasSubstr;
using testing::Not;

namespace windowtest {

namespace {

const QString phoneOfThree = u"79001234567"_s;

QString cardOf(Cashier& cashier)
{
    return cashier.checkout().card() ? cashier.checkout().card()->getNumber().toString() : QString();
}

} // namespace

TEST(WindowCustomer, IsFoundByCardWithBalanceAndLimit)
{
    Cashier cashier;
    cashier.sell(u"2000000000055"_s);
    const std::string screen = cashier.screen().toStdString();
    EXPECT_THAT(screen, HasSubstr("Орлова Анна Сергеевна"));
    EXPECT_THAT(screen, HasSubstr("Баланс: 300,00"));
    EXPECT_THAT(screen, HasSubstr("Можно списать: "));
    EXPECT_THAT(screen, HasSubstr("…0055"));
    EXPECT_THAT(screen, Not(HasSubstr("2000000000055"))) << "card numbers are masked";
    EXPECT_THAT(cashier.status().toStdString(), HasSubstr("Баланс на "));
}

TEST(WindowCustomer, APhoneWithOneCardAsksNothing)
{
    Cashier cashier;
    cashier.sell();
    cashier.identify(u"8 (900) 555-00-01"_s);
    EXPECT_EQ(cardOf(cashier), u"2000000000055"_s);
    EXPECT_EQ(cashier.dialogs(), 0);
}

TEST(WindowCustomer, APhoneWithThreeCardsAsksWhichInTheServicesOrder)
{
    Cashier cashier;
    cashier.sell();
    cashier.atDialog([&](QDialog& dialog) {
        EXPECT_EQ(dialog.windowTitle(), u"Номера карт"_s);
        const auto* list = dialog.findChild<QListWidget*>();
        ASSERT_TRUE(list);
        ASSERT_EQ(list->count(), 3);
        EXPECT_EQ(list->item(0)->text(), u"…0017"_s);
        EXPECT_EQ(list->item(2)->text(), u"…0031"_s);
        cashier.press(Qt::Key_Down);
        cashier.press(Qt::Key_Down);
        cashier.press(Qt::Key_Return);
    });
    cashier.identify(phoneOfThree);
    EXPECT_EQ(cashier.dialogs(), 1);
    EXPECT_EQ(cardOf(cashier), u"2000000000031"_s);
}

TEST(WindowCustomer, CardsThatWereSeenBeforeAreListedWithNameAndBalance)
{
    Cashier cashier;
    cashier.sell(u"2000000000017"_s);
    const auto seen = cashier.checkout().card();
    const QString name = seen->getCard()->getClient()->getName();
    ASSERT_FALSE(name.isEmpty());
    const QString balance = till::screen::amount(seen->getBonusBalance().toDouble());
    const auto listed = [&] {
        QStringList items;
        cashier.atDialog([&](QDialog& dialog) {
            const auto* list = dialog.findChild<QListWidget*>();
            for (int i = 0; i < list->count(); ++i)
                items.append(list->item(i)->text());
            picture(dialog, u"cards-known"_s);
            cashier.press(Qt::Key_Escape);
        });
        cashier.identify(phoneOfThree);
        return items;
    };
    QStringList items = listed();
    ASSERT_EQ(items.size(), 3);
    EXPECT_THAT(items[0].toStdString(),
                HasSubstr("…0017\n" + name.toStdString() + ", " + balance.toStdString() + " на "));
    EXPECT_EQ(items[1], u"…0024"_s) << "nobody has asked for it";
    cashier.press(Qt::Key_F9); // earns
    items = listed();
    ASSERT_EQ(items.size(), 3);
    EXPECT_EQ(items[0], u"…0017\n"_s + name) << "the balance is another one now";
}

TEST(WindowCustomer, CardsWithEqualLastDigitsAreToldApart)
{
    HttpServer server;
    server.enqueue(HttpAnswer::status(
        200, R"({"data":{"cards_data":[{"number":"2000000010055"},{"number":"2000000020055"},)"
             R"({"number":"9000000020055"},{"number":"2000000000017"}]}})"));
    Cashier cashier({.serverUrl = server.url().toString()});
    cashier.sell();
    cashier.atDialog([&](QDialog& dialog) {
        const auto* list = dialog.findChild<QListWidget*>();
        ASSERT_EQ(list->count(), 4);
        EXPECT_EQ(list->item(0)->text(), u"…10055"_s);
        EXPECT_EQ(list->item(1)->text(), u"…0055 (2)"_s) << "half of the number is not shown";
        EXPECT_EQ(list->item(2)->text(), u"…0055 (3)"_s);
        EXPECT_EQ(list->item(3)->text(), u"…0017"_s);
        cashier.press(Qt::Key_Escape);
    });
    cashier.identify(phoneOfThree);
    EXPECT_EQ(cashier.dialogs(), 1);
}

TEST(WindowCustomer, AListClosedIsNoErrorAndNoCard)
{
    Cashier cashier;
    cashier.sell();
    cashier.atDialog([&](QDialog&) { cashier.press(Qt::Key_Escape); });
    cashier.identify(phoneOfThree);
    EXPECT_EQ(cardOf(cashier), QString());
    EXPECT_EQ(cashier.notice(), u"Карта не выбрана"_s);
}

TEST(WindowCustomer, APhoneWithoutCardsIsSaid)
{
    Cashier cashier;
    cashier.sell();
    cashier.identify(u"79009999999"_s);
    EXPECT_EQ(cardOf(cashier), QString());
    EXPECT_THAT(cashier.notice().toStdString(), HasSubstr("Нет карт для телефона"));
}

TEST(WindowCustomer, ABlockedCardIsRefused)
{
    Cashier cashier;
    cashier.sell(u"2000000000048"_s);
    EXPECT_EQ(cardOf(cashier), QString());
    EXPECT_EQ(cashier.notice(), u"Карта заблокирована"_s);
}

TEST(WindowCustomer, AnUnfinishedRegistrationSpendsNothingAndSaysWhy)
{
    Cashier cashier;
    cashier.sell(u"2000000000062"_s);
    EXPECT_EQ(cardOf(cashier), u"2000000000062"_s) << cashier.notice().toStdString();
    EXPECT_THAT(cashier.screen().toStdString(), HasSubstr("Регистрация покупателя не завершена"));
}

TEST(WindowCustomer, NobodyIsFoundWhileTheServiceIsAwayAndTheStatusSaysWhatWorks)
{
    Cashier cashier;
    cashier.sell();
    cashier.till().setServiceUp(false);
    cashier.identify(u"2000000000055"_s);
    EXPECT_EQ(cardOf(cashier), QString());
    EXPECT_THAT(cashier.status().toStdString(), HasSubstr("связи со службой нет: карту не найти"));
    EXPECT_THAT(cashier.notice().toStdString(), HasSubstr("Ошибка обращения к серверу"));
}

TEST(WindowCustomer, AnEmptyEntryIsRefusedWithoutARequest)
{
    Cashier cashier;
    cashier.sell();
    cashier.identify({});
    EXPECT_EQ(cashier.notice(), u"Введите номер карты или телефон"_s);
    EXPECT_THAT(cashier.status().toStdString(), HasSubstr("ещё не проверена"));
}

TEST(WindowText, OfGoodsHasNothingThatAScreenMustNotGet)
{
    Cashier cashier;
    cashier.model().openSale({{.articul = hostileText(), .name = hostileText(), .price = 10, .quantity = 1}});
    EXPECT_EQ(cashier.screen().count(hostileTextAsShown()), 2) << "name and article";
    EXPECT_EQ(unprintableIn(cashier.screen().toUtf8()), "");
}

TEST(WindowText, OfTheServiceIsShownAsItIsButForWhatAScreenMustNotGet)
{
    HttpServer server;
    const QByteArray text = jsonText(hostileText());
    server.enqueue(HttpAnswer::status(200, R"({"data":{"card_data":{"status":3}}})"));
    server.enqueue(HttpAnswer::status(200, R"({"data":{"user_data":{"last_name":)" + text +
                                               R"(},"accounts_data":[{"avialable":"1"}]}})"));
    server.enqueue(HttpAnswer::status(422, R"({"data":[{"message":)" + text + "}]}")); // the limit
    server.enqueue(
        HttpAnswer::status(200, R"({"data":{"cards_data":[{"number":)" + text + R"(},{"number":"2"}]}})"));
    Cashier cashier({.serverUrl = server.url().toString()});
    const std::string shown = hostileTextAsShown().toStdString();
    cashier.sell(u"2000000000055"_s);
    EXPECT_THAT(cashier.notice().toStdString(), HasSubstr(shown));
    for (const auto* label : cashier.window().findChildren<QLabel*>())
        EXPECT_EQ(label->textFormat(), Qt::PlainText) << label->text().toStdString();
    const QString beginning = hostileTextAsShown().first(8); // the name is cut to two lines
    EXPECT_EQ(cashier.screen().count(beginning), 2) << "the notice and the name";
    EXPECT_EQ(unprintableIn(cashier.screen().toUtf8()), "");
    cashier.atDialog([&](QDialog& dialog) {
        const QString item = dialog.findChild<QListWidget*>()->item(0)->text();
        EXPECT_THAT(item.toStdString(), HasSubstr(shown));
        EXPECT_EQ(unprintableIn(item.toUtf8()), "");
        cashier.press(Qt::Key_Escape);
    });
    cashier.identify(phoneOfThree);
    EXPECT_EQ(cashier.dialogs(), 1);
}

} // namespace windowtest
