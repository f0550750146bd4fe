#include "tests/journey/window/cashier.h"

#include "host/shop/localmarks.h"
#include "host/utils/config.h"
#include "till/setup/hostobjects.h"

#include <QFile>
#include <QListWidget>

using namespace Qt::StringLiterals;
using testing::HasSubstr;
using testing::Not;

namespace windowtest {

namespace {

/// A receipt is paid while the service is away, which then is there again; its number.
QString earnOffline(Cashier& cashier)
{
    cashier.sell(u"2000000000055"_s);
    QString number = cashier.checkout().receipt()->getIdentifier();
    cashier.till().setServiceUp(false);
    cashier.press(Qt::Key_F9);
    EXPECT_FALSE(cashier.checkout().receipt()) << cashier.notice().toStdString();
    cashier.till().setServiceUp(true);
    return number;
}

std::string queueOf(Cashier& cashier) { return linesOf(cashier, u"Очередь отправки"_s); }

} // namespace

TEST(WindowQueue, ShowsAnEarningThatWaitsAndSendsItAtAFinger)
{
    Cashier cashier;
    QString number = earnOffline(cashier);
    cashier.press(Qt::Key_F12);
    EXPECT_THAT(queueOf(cashier), HasSubstr("начисление, чек " + number.toStdString()));
    EXPECT_THAT(cashier.status().toStdString(), HasSubstr("ждут отправки: 1"));
    cashier.touch(u"Отправить сейчас"_s);
    EXPECT_EQ(queueOf(cashier), "Всё отправлено") << cashier.notice().toStdString();
    EXPECT_THAT(cashier.status().toStdString(), Not(HasSubstr("ждут отправки")));
    cashier.press(Qt::Key_F12);
    EXPECT_THAT(linesOf(cashier, u"Ход чека"_s), HasSubstr("отправлено"));
}

TEST(WindowAlarm, TellsOfAMessageThatTheServiceRefusesForGood)
{
    Cashier cashier;
    earnOffline(cashier);
    cashier.spoilTheNext(u"payment-b2c"_s, R"("fault":"status","code":422)");
    cashier.press(Qt::Key_F12);
    cashier.touch(u"Отправить сейчас"_s);
    EXPECT_EQ(cashier.till().queue().parkedCount(), 1) << cashier.notice().toStdString();
    EXPECT_EQ(cashier.status(),
              u"Сообщений, которые не удастся отправить службе лояльности: 1. Сообщите администратору"_s);
    EXPECT_THAT(queueOf(cashier), HasSubstr("отклонено службой"));
}

TEST(WindowAlarm, TellsThatTheServiceRefusesUserOrPassword)
{
    Cashier cashier;
    earnOffline(cashier);
    cashier.spoilTheNext(u"payment-b2c"_s, R"("fault":"status","code":401)");
    cashier.press(Qt::Key_F12);
    cashier.touch(u"Отправить сейчас"_s);
    EXPECT_EQ(cashier.till().queue().waitingCount(), 1) << "it is kept for the right password";
    EXPECT_THAT(cashier.status().toStdString(),
                HasSubstr("Служба лояльности не принимает имя или пароль с "));
    cashier.touch(u"Отправить сейчас"_s); // accepted now
    EXPECT_EQ(cashier.till().queue().waitingCount(), 0) << cashier.notice().toStdString();
    EXPECT_THAT(cashier.status().toStdString(), Not(HasSubstr("пароль")));
}

TEST(WindowAlarm, TellsOfAReceiptWhoseNumberAnotherTillOfTheShopHasUsed)
{
    Cashier cashier;
    cashier.sell();
    const QString number = cashier.checkout().receipt()->getIdentifier();
    cashier.press(Qt::Key_F9);
    shop::LocalMarks().giveUp(number, {number, u"2"_s}); // as whoever moves the receipts on does
    cashier.sell();
    EXPECT_THAT(cashier.status().toStdString(), Not(HasSubstr(number.toStdString()))) << "it has no shop";
    till::hostObject<Config>().set(u"Shop:database"_s, u"postgresql:///shop"_s);
    cashier.sell();
    EXPECT_EQ(
        cashier.status(),
        u"Чеков с номерами, которые уже заняты другой кассой: 1, первый %1. Сообщите администратору"_s.arg(
            number));
}

TEST(WindowAlarm, TellsThatTheStoreWasTakenAway)
{
    Cashier cashier;
    cashier.sell();
    ASSERT_TRUE(QFile::remove(cashier.directory() + u"/till.sqlite"_s));
    cashier.press(Qt::Key_F9);
    const char* const gone = "till.sqlite удалены или подменены";
    EXPECT_THAT(cashier.notice().toStdString(), HasSubstr(gone));
    EXPECT_THAT(cashier.status().toStdString(), HasSubstr(gone));
    EXPECT_TRUE(cashier.checkout().receipt()) << "it is not closed";
}

} // namespace windowtest
