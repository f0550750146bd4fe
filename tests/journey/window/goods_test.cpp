#include "tests/journey/window/cashier.h"

using namespace Qt::StringLiterals;
using testing::HasSubstr;

namespace windowtest {

TEST(WindowGoods, AreAddedByArticleAndByFinger)
{
    Cashier cashier;
    cashier.press(Qt::Key_F9);
    cashier.press(Qt::Key_F2);
    cashier.type(u"4601"_s);
    cashier.press(Qt::Key_Return);
    cashier.touch(u"Кофе, 250 г, 489,00 ₽"_s);
    cashier.touch(u"Кофе, 250 г, 489,00 ₽"_s);
    const auto items = cashier.checkout().receipt()->getGoodsItems();
    ASSERT_EQ(items.size(), 2);
    EXPECT_EQ(items[0]->getBquant(), 1);
    EXPECT_EQ(items[1]->getBquant(), 2);
    EXPECT_THAT(cashier.screen().toStdString(), HasSubstr("1 067,90 ₽"));
}

TEST(WindowGoods, AnUnknownArticleIsRefusedInWordsThoughItIsCyrillic)
{
    Cashier cashier;
    cashier.press(Qt::Key_F9);
    cashier.press(Qt::Key_F2);
    cashier.type(u"Молокко"_s);
    cashier.press(Qt::Key_Return);
    EXPECT_TRUE(cashier.checkout().receipt()->getGoodsItems().isEmpty());
    EXPECT_EQ(cashier.notice().toStdString(),
              "Товара «Молокко» нет: введите другой артикул или часть названия");
}

TEST(WindowGoods, QuantityAndDiscountAreTypedInADialogAndAPositionIsRemoved)
{
    Cashier cashier;
    cashier.sell();
    cashier.atDialog([&](QDialog& dialog) {
        EXPECT_EQ(dialog.objectName(), u"quantity"_s);
        cashier.type(u"2,5"_s);
        cashier.press(Qt::Key_Return);
    });
    cashier.press(Qt::Key_F4);
    cashier.atDialog([&](QDialog& dialog) {
        EXPECT_EQ(dialog.objectName(), u"discount"_s);
        cashier.touch(u"5"_s);
        cashier.touch(u"0"_s);
        cashier.press(Qt::Key_Return);
    });
    cashier.press(Qt::Key_F5);
    auto items = cashier.checkout().receipt()->getGoodsItems();
    ASSERT_EQ(items.size(), 2);
    EXPECT_EQ(items[1]->getBquant(), 2.5);
    EXPECT_EQ(items[1]->getDiscount(), 50);
    EXPECT_EQ(items[1]->getSumb(), 1172.5);
    cashier.press(Qt::Key_F6);
    items = cashier.checkout().receipt()->getGoodsItems();
    ASSERT_EQ(items.size(), 1);
    EXPECT_EQ(items[0]->getArticul(), u"4601"_s);
}

TEST(WindowGoods, AQuantityBelowAThousandthOrBetweenTwoIsRefused)
{
    Cashier cashier;
    cashier.sell();
    for (const QString& typed : {u"0,0004"_s, u"0,0005"_s, u"1,0015"_s, u"0"_s, u"10000"_s}) {
        cashier.atDialog([&](QDialog&) {
            cashier.type(typed);
            cashier.press(Qt::Key_Return);
        });
        cashier.press(Qt::Key_F4);
        EXPECT_EQ(cashier.notice().toStdString(), "Количество — от 0,001 до 9999, не мельче тысячных");
        EXPECT_EQ(cashier.checkout().receipt()->getGoodsItems()[1]->getBquant(), 1) << typed.toStdString();
    }
    cashier.model().setQuantity(2, 0.001);
    EXPECT_EQ(cashier.checkout().receipt()->getGoodsItems()[1]->getBquant(), 0.001);
}

TEST(WindowGoods, ADiscountAboveTheSumIsRefused)
{
    Cashier cashier;
    cashier.sell();
    cashier.atDialog([&](QDialog&) {
        cashier.type(u"9999"_s);
        cashier.press(Qt::Key_Return);
    });
    cashier.press(Qt::Key_F5);
    EXPECT_EQ(cashier.notice().toStdString(), "Скидка — от 0 до 489,00");
    EXPECT_EQ(cashier.checkout().receipt()->getDiscountSum(), 0);
}

TEST(WindowGoods, AReceiptWithoutACardIsPaid)
{
    Cashier cashier;
    cashier.sell();
    cashier.press(Qt::Key_F9);
    EXPECT_FALSE(cashier.checkout().receipt());
    EXPECT_EQ(cashier.till().turnover().closed.size(), 1);
    EXPECT_THAT(cashier.screen().toStdString(), HasSubstr("Оплачено 578,90 ₽"));
    EXPECT_THAT(cashier.status().toStdString(), HasSubstr("ждут отправки: 1"));
}

TEST(WindowGoods, AnAbandonedReceiptIsAskedForOnceAndEnterKeepsIt)
{
    Cashier cashier;
    cashier.sell();
    cashier.atDialog([&](QDialog&) { cashier.press(Qt::Key_Escape); });
    cashier.press(Qt::Key_F8);
    EXPECT_TRUE(cashier.checkout().receipt());
    cashier.atDialog([&](QDialog&) { cashier.press(Qt::Key_Return); });
    cashier.press(Qt::Key_F8);
    EXPECT_TRUE(cashier.checkout().receipt()) << "Enter is no answer to lose something by";
    cashier.atDialog([&](QDialog&) { cashier.press(Qt::Key_Delete); });
    cashier.press(Qt::Key_F8);
    EXPECT_FALSE(cashier.checkout().receipt());
    EXPECT_EQ(cashier.dialogs(), 3);
}

} // namespace windowtest
