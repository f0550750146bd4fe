#include "tests/journey/window/cashier.h"

#include <QAbstractButton>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>

using namespace Qt::StringLiterals;
using testing::HasSubstr;

namespace windowtest {

namespace {

constexpr int leastKey = 48;
const QString article = u"Артикул товара"_s;
const QString customer = u"Карта или телефон покупателя"_s;
const QString points = u"Сколько баллов списать"_s;
const QString away = u"Убрать клавиши"_s;

/// Types by the keys on the screen.
void touchIn(Cashier& cashier, const QString& field, const QString& text)
{
    cashier.touch(field);
    for (const QChar c : text)
        cashier.touch(c);
    cashier.touch(u"Ввод"_s);
}

QRect placeOf(const QWidget& widget) { return {widget.mapTo(widget.window(), QPoint(0, 0)), widget.size()}; }

class WindowTouch : public testing::TestWithParam<int>
{};

} // namespace

TEST_P(WindowTouch, KeysCoverNeitherTotalNorPayNorTheFieldAndTheWindowKeepsItsSize)
{
    Cashier cashier({.scale = GetParam()});
    cashier.sell(u"2000000000055"_s);
    for (const QString& field : {article, customer, points}) {
        cashier.touch(field);
        const QWidget* key = cashier.control(u"7"_s);
        ASSERT_TRUE(key) << field.toStdString();
        const QRect keypad = placeOf(*key->parentWidget());
        EXPECT_TRUE(cashier.window().rect().contains(keypad));
        QList<const QWidget*> open{cashier.control(field), cashier.control(u"Оплатить"_s),
                                   cashier.control(u"Отменить чек"_s)};
        for (const auto* label : cashier.window().findChildren<QLabel*>()) {
            if (label->isVisible() &&
                (label->property("role") == u"total"_s || label->property("notice").isValid()))
                open.append(label);
        }
        EXPECT_EQ(open.size(), 5);
        for (const QWidget* widget : open)
            EXPECT_FALSE(keypad.intersects(placeOf(*widget))) << widget->accessibleName().toStdString();
        for (const auto* one : key->parentWidget()->findChildren<QAbstractButton*>())
            EXPECT_GE(std::min(one->width(), one->height()), leastKey) << one->text().toStdString();
        EXPECT_EQ(cashier.window().size(), QSize(1024, 768));
        picture(cashier.window(),
                u"keypad-%1-%2"_s.arg(cashier.control(field)->objectName()).arg(GetParam()));
    }
}

INSTANTIATE_TEST_SUITE_P(Percent, WindowTouch, testing::Values(100, 125, 150),
                         [](const auto& percent) { return std::to_string(percent.param); });

TEST(WindowTouching, IsEnoughForAWholeSaleWithCardAndPoints)
{
    Cashier cashier({.smsVerification = true});
    cashier.touch(u"Новый чек"_s);
    touchIn(cashier, article, u"4607"_s);
    touchIn(cashier, customer, u"+79005550001"_s);
    cashier.atDialog([&](QDialog&) {
        for (const QChar digit : u"1234"_s)
            cashier.touch(digit);
        cashier.touch(u"ОК"_s);
    });
    touchIn(cashier, points, u"100,5"_s);
    EXPECT_EQ(cashier.model().spentPoints(), 100.5) << cashier.notice().toStdString();
    cashier.touch(u"Оплатить"_s);
    EXPECT_FALSE(cashier.checkout().receipt());
    EXPECT_EQ(cashier.takeKeys(), 0);
    EXPECT_FALSE(cashier.control(away));
}

TEST(WindowTouching, ClosesTheKeysByTheirOwnKeyByEscapeAndByGoingOn)
{
    Cashier cashier;
    cashier.sell();
    cashier.touch(article);
    cashier.touch(u"4"_s);
    cashier.touch(u"Стереть"_s);
    EXPECT_EQ(cashier.focus(), article);
    cashier.touch(away);
    EXPECT_FALSE(cashier.control(away));
    cashier.touch(article);
    cashier.press(Qt::Key_Escape);
    EXPECT_FALSE(cashier.control(away));
    cashier.touch(article);
    ASSERT_TRUE(cashier.control(away));
    cashier.press(Qt::Key_F3);
    EXPECT_FALSE(cashier.control(away)) << "they are the article's";
}

TEST(WindowTouching, LeavesKeyboardAndScannerAsTheyWere)
{
    Cashier cashier;
    cashier.sell();
    EXPECT_FALSE(cashier.control(away)) << "nobody has touched a field";
    cashier.touch(article);
    cashier.scan(u"4602"_s);
    EXPECT_EQ(cashier.checkout().receipt()->getGoodsItems().size(), 3);
    cashier.type(u"46"_s);
    cashier.touch(u"0"_s);
    cashier.touch(u"3"_s);
    cashier.press(Qt::Key_Return);
    EXPECT_EQ(cashier.checkout().receipt()->getGoodsItems().size(), 4) << cashier.notice().toStdString();
}

TEST(WindowTouching, ChangesQuantityAndDiscount)
{
    Cashier cashier;
    cashier.sell();
    for (const QString& change : {u"Количество"_s, u"Скидка"_s}) {
        cashier.atDialog([&](QDialog& dialog) {
            for (const auto* one : dialog.findChildren<QAbstractButton*>())
                EXPECT_GE(std::min(one->width(), one->height()), leastKey) << one->text().toStdString();
            for (const QChar c : u"0,5"_s)
                cashier.touch(c);
            cashier.touch(u"ОК"_s);
        });
        cashier.touch(change);
    }
    const auto item = cashier.checkout().receipt()->getGoodsItems().last();
    EXPECT_EQ(item->getBquant(), 0.5);
    EXPECT_EQ(item->getDiscountSum(), 0.5);
}

TEST(WindowTouching, FindsAClosedReceiptByDigitsOfItsNumber)
{
    Cashier cashier;
    cashier.sell();
    const QString number = cashier.checkout().receipt()->getIdentifier();
    cashier.press(Qt::Key_F9);
    cashier.atDialog([&](QDialog& dialog) {
        touchIn(cashier, u"Номер чека"_s, u"99"_s + number);
        EXPECT_TRUE(dialog.isVisible()) << "no key opens a return";
        EXPECT_THAT(linesOf(cashier, u"Закрытые чеки"_s), HasSubstr("Такого чека нет"));
        cashier.touch(u"Номер чека"_s);
        for (qsizetype i = 0; i < number.size() + 2; ++i)
            cashier.touch(u"Стереть"_s);
        touchIn(cashier, u"Номер чека"_s, number);
        EXPECT_THAT(linesOf(cashier, u"Закрытые чеки"_s), HasSubstr(number.toStdString()));
        picture(dialog, u"keypad-return"_s);
        cashier.touch(away);
        cashier.press(Qt::Key_Escape);
    });
    cashier.touch(u"Возврат"_s);
    EXPECT_EQ(cashier.dialogs(), 1);
}

} // namespace windowtest
