// The books: restarts, races, and what must always hold.

#include "tests/stand/books.h"
#include "tests/stand/shop.h"
#include "tests/stand/standfixture.h"

#include <array>
#include <atomic>
#include <thread>

using namespace Qt::StringLiterals;
using standtest::change;
using standtest::inOrder;
using standtest::json;
using standtest::refusalText;
using standtest::Reply;
using standtest::Shop;
using standtest::StandBooks;

namespace {

TEST_F(StandBooks, AKilledStandHasKeptAllItAnswered)
{
    std::array<Reply, 6> first;
    const auto ask = [](Shop& shop) {
        return std::array{
            shop.forcePayment({.number = u"1"_s, .items = {{1, 33}, {2, 67}}}, u"20.00"_s),
            shop.earn({.number = u"2"_s}),
            shop.refuse({.number = u"3"_s, .items = {{1, 7}}}, u"2"_s),
            shop.cancel(u"1"_s),
            shop.payment({.number = u"4"_s}, u"20.00"_s),
            shop.post("receipt", standtest::anonymous(u"a-1"_s, 0)),
        };
    };
    QJsonValue ledger;
    {
        Shop shop(arguments());
        first = ask(shop);
        shop.confirm(1, u"1234"_s);
        ledger = shop.page("ledger");
        shop.kill();
    }
    Shop shop(arguments());
    const auto again = ask(shop);
    for (size_t i = 0; i < first.size(); ++i) {
        EXPECT_EQ(first.at(i).status, 200) << i;
        EXPECT_EQ(again.at(i).body, first.at(i).body) << i;
    }
    EXPECT_EQ(shop.confirm(1, u"1234"_s).status, 200);
    EXPECT_EQ(shop.page("ledger"), ledger);
    EXPECT_EQ(shop.page("invariants"), json(inOrder));
}

TEST_F(StandBooks, AStandKilledAtWorkHasAllOfARequestOrNothing)
{
    std::atomic<int> answered = 0;
    std::atomic<bool> ended = false;
    {
        Shop shop(arguments());
        std::thread till([&] {
            int number = 0;
            while (shop.forcePayment({.number = QString::number(++number)}, u"0.01"_s).status == 200)
                ++answered;
            ended = true;
        });
        while (answered < 5 && !ended)
            std::this_thread::yield();
        shop.kill();
        till.join();
    }
    Shop shop(arguments());
    const auto done = static_cast<int>(shop.operations().size());
    EXPECT_GE(done, answered);
    EXPECT_LE(done, answered + 1) << "the one whose answer was lost";
    EXPECT_EQ(shop.balance(), 30000 - done);
    EXPECT_EQ(shop.page("invariants"), json(inOrder));
}

TEST_F(StandBooks, ARequestThatFailsHalfwayLeavesNothing)
{
    {
        Shop shop(arguments());
        shop.kill();
    }
    ASSERT_TRUE(change(
        m_file,
        {u"CREATE TRIGGER full_disk BEFORE INSERT ON shares BEGIN SELECT RAISE(ABORT, 'full'); END"_s}));
    {
        Shop shop(arguments());
        EXPECT_EQ(refusalText(shop.forcePayment({}, u"20.00"_s)), "500 Внутренняя ошибка сервиса");
        EXPECT_EQ(shop.balance(), 30000);
        EXPECT_EQ(shop.operations().size(), 0);
        shop.kill();
    }
    ASSERT_TRUE(change(m_file, {u"DROP TRIGGER full_disk"_s}));
    Shop shop(arguments());
    EXPECT_EQ(shop.forcePayment({}, u"20.00"_s).status, 200);
    EXPECT_EQ(shop.balance(), 28000);
}

TEST(StandLedger, ShowsOperationsEntriesAndAccounts)
{
    Shop shop;
    shop.forcePayment({.number = u"42"_s}, u"20.00"_s);
    const auto ledger = shop.page("ledger");
    auto operation = ledger[u"operations"].toArray().last().toObject();
    EXPECT_FALSE(operation.take(u"time"_s).toString().isEmpty());
    const auto n = operation.take(u"n"_s);
    EXPECT_EQ(operation, json(u"{'operation':'spending','receipt_number':'42','card':'2000000000055',"
                              "'check_identifier':'check-1','points':20}"_s)
                             .toObject());
    double customer = 0;
    for (const auto& entry : ledger[u"entries"].toArray()) {
        if (entry[u"operation"] == n)
            customer += std::min(entry[u"amount"].toDouble(), 0.0);
    }
    EXPECT_EQ(customer, -20);
    for (const auto& account : ledger[u"accounts"].toArray()) {
        if (account[u"card"] == u"2000000000055"_s) {
            EXPECT_EQ(account[u"balance"], QJsonValue(280));
        }
        if (account[u"kind"] == u"shop"_s) {
            EXPECT_EQ(account[u"balance"], QJsonValue(20));
        }
    }
}

TEST(StandLedger, TwoTillsRacingForOneCardSpendItsPointsExactlyOnce)
{
    Shop shop;
    std::atomic<int> spent = 0;
    std::atomic<int> refused = 0;
    const auto till = [&](int first) {
        for (int i = 0; i < 40; ++i) {
            // Together they want 80 times 7.00 of 300.00 points.
            const auto reply = shop.forcePayment({.number = QString::number(first + i)}, u"7.00"_s);
            ++(reply.status == 200 ? spent : refused);
            if (reply.status != 200) {
                EXPECT_EQ(refusalText(reply), "422 Недостаточно бонусов на карте");
            }
        }
    };
    std::thread one(till, 1000);
    std::thread other(till, 2000);
    one.join();
    other.join();
    EXPECT_EQ(spent, 42);
    EXPECT_EQ(refused, 38);
    EXPECT_EQ(shop.balance(), 30000 - 42 * 700);
    EXPECT_EQ(shop.page("invariants"), json(inOrder));
}

} // namespace
