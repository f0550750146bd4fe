// The books: restarts, upgrades, races, and what must always hold.

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

TEST_F(StandBooks, AFileOfTheFirstVersionIsUpgraded)
{
    ASSERT_TRUE(change(
        m_file,
        {u"CREATE TABLE customers(id INTEGER PRIMARY KEY, last_name TEXT, first_name TEXT, middle_name TEXT, "
         "gender INTEGER CHECK (gender IN (0, 1)), birth_day TEXT, address TEXT, email TEXT, "
         "mobile TEXT NOT NULL)"_s,
         u"CREATE TABLE accounts(id INTEGER PRIMARY KEY, balance INTEGER NOT NULL, "
         "notation INTEGER NOT NULL CHECK (notation IN (0, 1)))"_s,
         u"CREATE TABLE cards(id INTEGER PRIMARY KEY, number TEXT NOT NULL UNIQUE, "
         "customer INTEGER REFERENCES customers, account INTEGER NOT NULL REFERENCES accounts, "
         "status INTEGER NOT NULL CHECK (status BETWEEN 0 AND 3))"_s,
         u"CREATE TABLE exchanges(n INTEGER PRIMARY KEY AUTOINCREMENT, time TEXT NOT NULL, "
         "method TEXT NOT NULL, path TEXT NOT NULL, headers TEXT NOT NULL, request_body TEXT NOT NULL, "
         "status INTEGER NOT NULL, answer_body TEXT NOT NULL, authorized INTEGER NOT NULL)"_s,
         u"INSERT INTO customers(id, last_name, gender, mobile) VALUES (1, 'Орлова', 0, '79005550001')"_s,
         u"INSERT INTO accounts(id, balance, notation) VALUES (1, 12345, 0), (2, 0, 1)"_s,
         u"INSERT INTO cards(number, customer, account, status) "
         "VALUES ('2000000000055', 1, 1, 3), ('2000000000062', NULL, 2, 0)"_s,
         u"PRAGMA user_version = 1"_s}));
    Shop shop(arguments());
    EXPECT_EQ(shop.balance(), 12345);
    EXPECT_EQ(shop.balance(u"2000000000062"_s), 0);
    const auto user = shop.send("user/card/2000000000055/user-info", "GET", {}).data();
    EXPECT_EQ(user.value(u"user_data")[u"gender"], QJsonValue(1));
    EXPECT_EQ(shop.forcePayment({}, u"20.00"_s).status, 200);
    EXPECT_EQ(shop.balance(), 10345);
    EXPECT_EQ(shop.page("invariants"), json(inOrder));
}

TEST_F(StandBooks, AFileWithoutRunningBalancesIsUpgraded)
{
    QJsonValue ledger;
    {
        Shop shop(arguments());
        shop.forcePayment({.number = u"1"_s}, u"20.00"_s);
        shop.earn({.number = u"2"_s});
        shop.refuse({.number = u"3"_s}, u"2"_s);
        ledger = shop.page("ledger");
        shop.kill();
    }
    // As the version before kept it, but for what its triggers did.
    ASSERT_TRUE(change(m_file, {u"DROP TRIGGER entries_follow"_s, u"DROP TRIGGER operations_stay"_s,
                                u"DROP TRIGGER operations_remain"_s, u"DROP TRIGGER shares_stay"_s,
                                u"DROP TRIGGER shares_remain"_s, u"DROP TRIGGER anonymous_stay"_s,
                                u"DROP TRIGGER anonymous_remain"_s, u"DROP TRIGGER exchanges_stay"_s,
                                u"DROP TRIGGER exchanges_remain"_s, u"DROP TRIGGER entries_stay"_s,
                                u"ALTER TABLE entries DROP COLUMN balance"_s,
                                u"CREATE TRIGGER entries_stay BEFORE UPDATE ON entries BEGIN SELECT 1; END"_s,
                                u"CREATE TRIGGER no_negative_balance AFTER INSERT ON entries "
                                "BEGIN SELECT 1; END"_s,
                                u"PRAGMA user_version = 3"_s}));
    Shop shop(arguments());
    EXPECT_EQ(shop.page("ledger"), ledger);
    EXPECT_EQ(shop.page("invariants"), json(inOrder));
}

TEST_F(StandBooks, AFileOfAStandThatReplacedNoApprovalsIsUpgraded)
{
    QByteArray confirmed;
    {
        Shop shop(arguments());
        shop.payment({.number = u"1"_s}, u"20.00"_s);
        shop.forcePayment({.number = u"1"_s}, u"20.00"_s);
        shop.payment({.number = u"2"_s}, u"20.00"_s);
        shop.payment({.number = u"3"_s}, u"20.00"_s);
        confirmed = shop.confirm(3, u"1234"_s).body;
        shop.kill();
    }
    ASSERT_TRUE(change(
        m_file,
        {u"UPDATE approvals SET state = 'waiting' WHERE state = 'replaced'"_s,
         u"PRAGMA writable_schema = ON"_s,
         u"UPDATE sqlite_schema SET sql = replace(sql, ', ''replaced''', '') WHERE name = 'approvals'"_s,
         u"PRAGMA user_version = 4"_s}));
    Shop shop(arguments());
    EXPECT_EQ(refusalText(shop.confirm(1, u"1234"_s)), "409 Запрос на списание заменён более поздним")
        << "its receipt was paid at once";
    EXPECT_EQ(shop.payment({.number = u"2"_s}, u"10.00"_s).data().value(u"approve_id"), 4);
    EXPECT_EQ(shop.confirm(3, u"1234"_s).body, confirmed);
    EXPECT_EQ(shop.balance(), 26000);
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
