#include "tests/journey/window/cashier.h"

using namespace Qt::StringLiterals;

namespace windowtest {

namespace {

// Each renders; with PICTURES=<folder> it is kept, for people to look at: the English ones in a folder of
// their own there.
class WindowPictures : public testing::TestWithParam<QString>
{
protected:
    [[nodiscard]] static QString named(const QString& name)
    {
        return GetParam().isEmpty() ? name : GetParam() + u'/' + name;
    }
};

} // namespace

TEST_P(WindowPictures, OfAReceiptFromOpeningToPaying)
{
    Cashier cashier({.smsVerification = true, .language = GetParam()});
    picture(cashier.window(), named(u"start"_s));
    cashier.sell();
    picture(cashier.window(), named(u"goods"_s));
    cashier.press(Qt::Key_F3);
    cashier.atDialog([&](QDialog& dialog) {
        picture(dialog, named(u"cards"_s));
        cashier.press(Qt::Key_Escape);
    });
    cashier.type(u"79001234567"_s);
    cashier.press(Qt::Key_Return);
    cashier.identify(u"2000000000055"_s);
    picture(cashier.window(), named(u"customer"_s));
    cashier.atDialog([&](QDialog& dialog) {
        cashier.type(u"12"_s);
        picture(dialog, named(u"code"_s));
        cashier.type(u"34"_s);
        cashier.press(Qt::Key_Return);
    });
    cashier.spend(u"100"_s);
    EXPECT_EQ(cashier.dialogs(), 2);
    picture(cashier.window(), named(u"spent"_s));
    cashier.press(Qt::Key_F12);
    cashier.press(Qt::Key_F12);
    picture(cashier.window(), named(u"timeline"_s));
    cashier.press(Qt::Key_F12);
    cashier.press(Qt::Key_F9);
    picture(cashier.window(), named(u"paid"_s));
    EXPECT_FALSE(cashier.checkout().receipt());
    cashier.atDialog([&](QDialog& dialog) {
        cashier.press(Qt::Key_F4);
        if (!GetParam().isEmpty())
            picture(dialog, named(u"return"_s));
        cashier.press(Qt::Key_Escape);
    });
    cashier.press(Qt::Key_F10);
}

TEST_P(WindowPictures, OfAServiceThatIsAway)
{
    Cashier cashier({.language = GetParam()});
    cashier.sell(u"2000000000055"_s);
    cashier.till().setServiceUp(false);
    cashier.press(Qt::Key_F9);
    cashier.press(Qt::Key_F12);
    EXPECT_FALSE(cashier.checkout().receipt());
    picture(cashier.window(), named(u"offline"_s));
}

INSTANTIATE_TEST_SUITE_P(Languages, WindowPictures, testing::Values(QString(), u"en"_s),
                         [](const auto& language) { return language.param.isEmpty() ? "ru" : "en"; });

} // namespace windowtest
