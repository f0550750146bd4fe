#include "tests/journey/window/cashier.h"
#include "tests/journey/window/slowservice.h"

#include <QApplication>
#include <QLineEdit>
#include <QTest>

using namespace Qt::StringLiterals;
using testing::HasSubstr;
using testing::Not;

namespace windowtest {

namespace {

const QString card = u"2000000000055"_s;
const QString milkBarcode = u"2900000046016"_s;

std::string goodsOf(Cashier& cashier)
{
    QStringList goods;
    if (cashier.checkout().receipt()) {
        for (const auto& item : cashier.checkout().receipt()->getGoodsItems())
            goods.append(item->getArticul() + u'x' + QString::number(item->getBquant()));
    }
    return goods.join(u' ').toStdString();
}

QString cardOf(Cashier& cashier)
{
    return cashier.checkout().card() ? cashier.checkout().card()->getNumber().toString() : QString();
}

QString fieldText(Cashier& cashier, const QString& name)
{
    const auto* field = cashier.window().findChild<QLineEdit*>(name);
    return field ? field->text() : u"no such field"_s;
}

} // namespace

TEST(WindowScan, TheFirstOneAfterTheStartIsOnTheReceipt)
{
    Cashier cashier;
    cashier.scan(u"4602"_s);
    EXPECT_EQ(goodsOf(cashier), "4602x1");
    EXPECT_EQ(cashier.takeBeeps(), 0);
}

TEST(WindowScan, IsTakenWhateverHasTheFocus)
{
    Cashier cashier;
    cashier.scan(u"4601"_s);
    for (int i = 0; i < 25; ++i) {
        cashier.scan(u"4602"_s);
        cashier.press(Qt::Key_Tab);
    }
    EXPECT_EQ(goodsOf(cashier), "4601x1 4602x25");
    EXPECT_EQ(cashier.takeBeeps(), 0);
}

TEST(WindowScan, OfTheNextCustomersGoodsAfterASaleWithPointsIsTaken)
{
    Cashier cashier;
    cashier.sell(card);
    cashier.spend(u"100"_s);
    cashier.press(Qt::Key_F9);
    ASSERT_FALSE(cashier.checkout().receipt()) << cashier.notice().toStdString();
    cashier.scan(u"4602"_s);
    cashier.scan(u"4603"_s);
    EXPECT_EQ(goodsOf(cashier), "4602x1 4603x1");
}

TEST(WindowScan, OfGoodsAfterTheCardNeverReachesThePoints)
{
    Cashier cashier;
    cashier.scan(u"4601"_s);
    cashier.scan(card);
    ASSERT_EQ(cardOf(cashier), card) << cashier.notice().toStdString();
    EXPECT_EQ(cashier.focus(), u"Сколько баллов списать"_s);
    cashier.scan(u"4602"_s);
    EXPECT_EQ(fieldText(cashier, u"points"_s), QString());
    EXPECT_EQ(goodsOf(cashier), "4601x1 4602x1") << cashier.notice().toStdString();
}

TEST(WindowScan, OfACardIsACustomerThoughTheArticleHasTheFocus)
{
    Cashier cashier;
    cashier.press(Qt::Key_F2);
    cashier.scan(card);
    EXPECT_EQ(cardOf(cashier), card) << cashier.notice().toStdString();
    EXPECT_EQ(fieldText(cashier, u"article"_s), QString());
}

TEST(WindowScan, LeavesWhatWasBeingTypedAsItIs)
{
    Cashier cashier;
    cashier.scan(u"4601"_s);
    cashier.scan(card);
    cashier.type(u"12"_s);
    cashier.scan(u"4602"_s);
    EXPECT_EQ(fieldText(cashier, u"points"_s), u"12"_s);
    EXPECT_EQ(goodsOf(cashier), "4601x1 4602x1");
}

TEST(WindowScan, OfABarcodeOrAMarkingCodeWithGroupSeparatorsIsGoods)
{
    Cashier cashier;
    const QString separator(QChar(0x1D));
    cashier.scan(milkBarcode);
    cashier.scan(u"010"_s + milkBarcode + u"215a!b\"c+d-e"_s + separator + u"91EE07"_s + separator + u"92"_s +
                 QString(88, u'x'));
    cashier.scan(separator + u"010"_s + milkBarcode + u"21k"_s + separator + u"93abcd"_s, Qt::Key_Enter);
    EXPECT_EQ(goodsOf(cashier), "4601x3") << cashier.notice().toStdString();
}

TEST(WindowScan, OfSomethingUnknownIsRefusedWithAWordAndASound)
{
    Cashier cashier;
    cashier.scan(u"9780000000555"_s);
    EXPECT_FALSE(cashier.checkout().receipt());
    EXPECT_EQ(cashier.takeBeeps(), 1);
    EXPECT_EQ(cashier.notice(), u"Код …0555 не принят: такого товара нет, и это не карта"_s);
}

TEST(WindowScan, IsRefusedWhereTheReceiptCannotTakeItAnyMore)
{
    Cashier cashier;
    cashier.sell(card);
    cashier.spend(u"100"_s);
    ASSERT_EQ(cashier.takeBeeps(), 0) << cashier.notice().toStdString();
    cashier.scan(u"4602"_s);
    EXPECT_EQ(cashier.takeBeeps(), 1);
    EXPECT_THAT(cashier.notice().toStdString(), HasSubstr("Баллы уже списаны: позиции не изменить"));
    cashier.scan(u"2000000000024"_s);
    EXPECT_EQ(cashier.takeBeeps(), 1);
    EXPECT_EQ(cardOf(cashier), card);
}

TEST(WindowScan, LosesThePrefixAndTheSuffixOfTheScanner)
{
    Cashier cashier({.scanPrefix = u"~"_s, .scanSuffix = u"#"_s});
    cashier.scan(u"~4601#"_s);
    cashier.scan(u"4602"_s); // of another scanner
    EXPECT_EQ(goodsOf(cashier), "4601x1 4602x1");
    cashier.typeFast(u"~4603#"_s); // a suffix in the place of Enter
    EXPECT_TRUE(QTest::qWaitFor([&] { return goodsOf(cashier) == "4601x1 4602x1 4603x1"; }))
        << goodsOf(cashier);
    EXPECT_EQ(fieldText(cashier, u"article"_s), QString());
}

TEST(WindowScan, WithATabAtItsEndMovesNoFocus)
{
    Cashier cashier({.scanSuffix = u"\t"_s});
    cashier.typeFast(u"4601\t"_s);
    EXPECT_TRUE(QTest::qWaitFor([&] { return goodsOf(cashier) == "4601x1"; })) << goodsOf(cashier);
    EXPECT_EQ(cashier.focus(), u"Артикул товара"_s);
}

TEST(WindowTyping, ReachesTheFieldInItsOrderThoughTwoKeysWereHitAtOnce)
{
    Cashier cashier;
    cashier.typeFast(u"46"_s);
    cashier.type(u"0"_s);
    cashier.typeFast(u"12"_s);
    EXPECT_TRUE(QTest::qWaitFor([&] { return fieldText(cashier, u"article"_s) == u"46012"_s; }))
        << fieldText(cashier, u"article"_s).toStdString();
    cashier.press(Qt::Key_Backspace);
    cashier.press(Qt::Key_Return);
    EXPECT_EQ(goodsOf(cashier), "4601x1");
}

TEST(WindowTyping, OfTwoFastDigitsAndEnterIsNoScan)
{
    Cashier cashier;
    cashier.scan(u"4607"_s);
    cashier.scan(card);
    cashier.scan(u"50"_s); // as fast as a scanner
    EXPECT_EQ(cashier.model().spentPoints(), 50) << cashier.notice().toStdString();
}

TEST(WindowTyping, SpaceStillPressesAButton)
{
    Cashier cashier;
    cashier.scan(u"4601"_s);
    while (cashier.focus() != u"Удалить"_s)
        cashier.press(Qt::Key_Tab);
    cashier.type(u" "_s);
    EXPECT_EQ(goodsOf(cashier), "");
}

TEST(WindowTyping, WhereNothingCanBeTypedIsRefused)
{
    Cashier cashier;
    cashier.sell(card);
    cashier.spend(u"100"_s);
    ASSERT_EQ(cashier.takeBeeps(), 0);
    for (const Qt::Key key : {Qt::Key_F2, Qt::Key_F3, Qt::Key_F4, Qt::Key_F6, Qt::Key_F7, Qt::Key_F10}) {
        cashier.press(key);
        EXPECT_EQ(cashier.takeBeeps(), 1) << "key " << key;
        EXPECT_NE(cashier.notice(), QString()) << "key " << key;
    }
    cashier.type(u"4"_s);
    EXPECT_EQ(cashier.takeBeeps(), 1);
    EXPECT_THAT(cashier.notice().toStdString(), HasSubstr("Баллы уже списаны: позиции не изменить"));
}

TEST(WindowDialogs, TakeNoScanAndSayItAndEnterDestroysNothing)
{
    Cashier cashier;
    cashier.sell(card);
    cashier.spend(u"100"_s);
    ASSERT_EQ(cashier.model().spentPoints(), 100) << cashier.notice().toStdString();
    cashier.takeBeeps();
    cashier.atDialog([&](QDialog& dialog) {
        cashier.scan(u"4602"_s);
        EXPECT_TRUE(dialog.isVisible());
        EXPECT_EQ(cashier.takeBeeps(), 1);
        EXPECT_THAT(dialog.findChild<QLabel*>()->text().toStdString(), HasSubstr("Код не принят"));
        cashier.press(Qt::Key_Return);
    });
    cashier.press(Qt::Key_F8);
    EXPECT_EQ(cashier.dialogs(), 1);
    EXPECT_TRUE(cashier.checkout().receipt());
    EXPECT_EQ(cashier.model().spentPoints(), 100);
}

TEST(WindowDialogs, OfNumbersAndReturnsTakeNoScanEither)
{
    Cashier cashier;
    cashier.sell();
    for (const Qt::Key key : {Qt::Key_F4, Qt::Key_F5}) {
        cashier.atDialog([&](QDialog& dialog) {
            cashier.scan(u"4602"_s);
            EXPECT_TRUE(dialog.isVisible());
            EXPECT_EQ(dialog.findChild<QLineEdit*>()->text(), QString());
            cashier.press(Qt::Key_Escape);
        });
        cashier.press(key);
        EXPECT_EQ(cashier.takeBeeps(), 1);
    }
    EXPECT_EQ(goodsOf(cashier), "4601x1 4607x1");
    cashier.press(Qt::Key_F9);
    cashier.atDialog([&](QDialog& dialog) {
        cashier.scan(u"12+3-4"_s);
        EXPECT_TRUE(dialog.isVisible());
        EXPECT_EQ(cashier.takeBeeps(), 1);
        cashier.type(u"+"_s); // of the first position
        cashier.press(Qt::Key_F9);
    });
    cashier.press(Qt::Key_F10);
    EXPECT_EQ(cashier.dialogs(), 3);
    EXPECT_EQ(goodsOf(cashier), "4601x1");
}

TEST(WindowWaiting, KeepsScannedGoodsInOrderAndRefusesAllElse)
{
    const SlowService service;
    Cashier cashier({.serverUrl = service.url()});
    std::string told;
    cashier.scan(u"4601"_s);
    cashier.atRequest([&] {
        cashier.scan(u"4602"_s);
        told = cashier.screen().toStdString();
        cashier.scan(u"4603"_s);
        cashier.scan(u"4602"_s);
        EXPECT_EQ(cashier.takeBeeps(), 0);
        EXPECT_EQ(goodsOf(cashier), "4601x1") << "not in the middle of a request";
        cashier.scan(u"2000000000024"_s);
        EXPECT_EQ(cashier.takeBeeps(), 1) << "a card is not kept";
        cashier.typeFast(u"77"_s); // half a second later they would be in a field
    });
    cashier.scan(card);
    EXPECT_EQ(cashier.requests(), 1);
    EXPECT_TRUE(QTest::qWaitFor([&] { return goodsOf(cashier) == "4601x1 4602x2 4603x1"; }))
        << goodsOf(cashier);
    EXPECT_THAT(told, HasSubstr("Хлеб ржаной: будет в чеке после ответа"));
    EXPECT_EQ(cardOf(cashier), QString());
    EXPECT_EQ(fieldText(cashier, u"article"_s) + fieldText(cashier, u"points"_s), QString());
}

TEST(WindowWaiting, GoodsScannedWhileTheReceiptIsPaidAreRefusedNotSoldToTheNextCustomer)
{
    Cashier cashier;
    cashier.sell(card);
    cashier.spoilTheNext(u"payment-b2c"_s, R"("fault":"late","ms":600)");
    cashier.atRequest([&] { cashier.scan(u"4602"_s); });
    cashier.press(Qt::Key_F9);
    EXPECT_FALSE(cashier.checkout().receipt());
    EXPECT_TRUE(QTest::qWaitFor([&] { return cashier.notice().startsWith(u"Хлеб ржаной — не в чеке"_s); }))
        << cashier.notice().toStdString();
    EXPECT_EQ(cashier.takeBeeps(), 1);
    EXPECT_FALSE(cashier.checkout().receipt());
}

TEST(WindowFocus, IsNeverOnAButtonAfterAnAction)
{
    Cashier cashier;
    const QString article = u"Артикул товара"_s;
    EXPECT_EQ(cashier.focus(), article) << "at the start";
    cashier.touch(u"Новый чек"_s);
    EXPECT_EQ(cashier.focus(), article);
    cashier.scan(u"4607"_s);
    cashier.scan(card);
    EXPECT_EQ(cashier.focus(), u"Сколько баллов списать"_s);
    cashier.press(Qt::Key_F12);
    EXPECT_EQ(cashier.focus(), article) << "the points are not shown";
    cashier.press(Qt::Key_F7);
    cashier.type(u"50"_s);
    cashier.touch(u"Списать"_s);
    ASSERT_EQ(cashier.model().spentPoints(), 50) << cashier.notice().toStdString();
    EXPECT_EQ(cashier.focus(), u"Товары в чеке"_s) << "nothing can be typed";
    cashier.press(Qt::Key_F9);
    EXPECT_EQ(cashier.focus(), article) << "after a sale with points";
    cashier.scan(u"4601"_s);
    cashier.atDialog([&](QDialog&) { cashier.touch(u"Отменить чек"_s); });
    cashier.touch(u"Отменить чек"_s);
    ASSERT_FALSE(cashier.checkout().receipt());
    EXPECT_EQ(cashier.focus(), article) << "after a cancelled receipt";
    cashier.atDialog([&](QDialog&) {
        cashier.touch(u"Вернуть всё"_s);
        cashier.press(Qt::Key_F9);
    });
    cashier.touch(u"Возврат"_s);
    ASSERT_EQ(cashier.model().state(), till::State::Return);
    EXPECT_EQ(cashier.focus(), u"Товары в чеке"_s);
    cashier.press(Qt::Key_F9);
    EXPECT_EQ(cashier.focus(), article) << "after a return";
}

} // namespace windowtest
