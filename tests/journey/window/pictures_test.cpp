#include "tests/journey/window/cashier.h"

using namespace Qt::StringLiterals;

namespace windowtest {

// Each renders; with PICTURES=<folder> it is kept, for people to look at.

TEST(WindowPictures, OfAReceiptFromOpeningToPaying)
{
    Cashier cashier({.smsVerification = true});
    picture(cashier.window(), u"start"_s);
    cashier.sell();
    picture(cashier.window(), u"goods"_s);
    cashier.press(Qt::Key_F3);
    cashier.atDialog([&](QDialog& dialog) {
        picture(dialog, u"cards"_s);
        cashier.press(Qt::Key_Escape);
    });
    cashier.type(u"79001234567"_s);
    cashier.press(Qt::Key_Return);
    cashier.press(Qt::Key_F3);
    cashier.type(u"2000000000055"_s);
    cashier.press(Qt::Key_Return);
    picture(cashier.window(), u"customer"_s);
    cashier.atDialog([&](QDialog& dialog) {
        cashier.type(u"12"_s);
        picture(dialog, u"code"_s);
        cashier.type(u"34"_s);
        cashier.press(Qt::Key_Return);
    });
    cashier.spend(u"100"_s);
    EXPECT_EQ(cashier.dialogs(), 2);
    picture(cashier.window(), u"spent"_s);
    cashier.press(Qt::Key_F12);
    cashier.press(Qt::Key_F12);
    picture(cashier.window(), u"timeline"_s);
    cashier.press(Qt::Key_F12);
    cashier.press(Qt::Key_F9);
    picture(cashier.window(), u"paid"_s);
    EXPECT_FALSE(cashier.checkout().receipt());
}

TEST(WindowPictures, OfAServiceThatIsAway)
{
    Cashier cashier;
    cashier.sell(u"2000000000055"_s);
    cashier.till().setServiceUp(false);
    cashier.press(Qt::Key_F9);
    cashier.press(Qt::Key_F12);
    EXPECT_FALSE(cashier.checkout().receipt());
    picture(cashier.window(), u"offline"_s);
}

} // namespace windowtest
