#include "tests/journey/window/cashier.h"

#include <random>

using namespace Qt::StringLiterals;

namespace windowtest {

namespace {

int receiptsOfTheDay()
{
    bool isNumber = false;
    const int wanted = qEnvironmentVariableIntValue("WINDOW_DAY_RECEIPTS", &isNumber);
    return isNumber && wanted > 0 ? wanted : 12;
}

} // namespace

// WINDOW_DAY_RECEIPTS says how long the day is; the service goes away and comes back in it.
TEST(WindowDay, LosesNoInputAndNoReceiptWhileTheServiceComesAndGoes)
{
    const int receipts = receiptsOfTheDay();
    Cashier cashier({.timeout = 2});
    std::mt19937 random(20261121);
    const QStringList cards{u"2000000000055"_s, u"2000000000024"_s, u"2000000000017"_s, {}};
    int questions = 0;
    int lost = 0;
    qint64 longest = 0;
    for (int i = 0; i < receipts; ++i) {
        if (i % 4 == 3)
            cashier.till().setServiceUp(false);
        cashier.probe().takeLongest();
        const QString& card = cards[static_cast<qsizetype>(random() % 4)];
        cashier.sell(card);
        ASSERT_TRUE(cashier.checkout().receipt());
        ASSERT_EQ(cashier.checkout().receipt()->getGoodsItems().size(), 2)
            << "a key was lost in receipt " << i;
        if (cashier.checkout().card()) {
            if (random() % 3 == 0)
                cashier.loseTheNextSpending();
            cashier.spend(u"5"_s);
            lost += cashier.checkout().unknownSpending() ? 1 : 0;
            if (cashier.checkout().unknownSpending())
                cashier.press(Qt::Key_F9); // the same once more
            EXPECT_FALSE(cashier.checkout().unknownSpending()) << cashier.notice().toStdString();
        }
        if (random() % 5 == 0 && !cashier.checkout().unknownSpending()) {
            cashier.atDialog([&](QDialog& dialog) {
                EXPECT_TRUE(dialog.isActiveWindow()) << "a dialog behind the window";
                cashier.press(Qt::Key_Delete);
            });
            cashier.press(Qt::Key_F8);
            ++questions;
            EXPECT_FALSE(cashier.checkout().receipt());
        } else {
            cashier.press(Qt::Key_F9);
            EXPECT_FALSE(cashier.checkout().receipt()) << cashier.notice().toStdString();
        }
        longest = std::max(longest, cashier.probe().takeLongest());
        if (i % 4 == 3)
            cashier.till().setServiceUp(true);
    }
    EXPECT_EQ(cashier.dialogs(), questions);
    EXPECT_EQ(cashier.till().turnover().closed.size() + questions, receipts);
    cashier.model().deliver();
    EXPECT_EQ(cashier.till().queue().waitingCount(), 0) << cashier.notice().toStdString();
    RecordProperty("longest_without_painting_ms", static_cast<int>(longest));
    std::cout << "longest time without painting: " << longest << " ms over " << receipts << " receipts, "
              << lost << " answers lost\n";
}

} // namespace windowtest
