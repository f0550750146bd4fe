// Books that somebody changed behind the stand's back, and how it keeps them from being changed.

#include "tests/stand/books.h"
#include "tests/stand/shop.h"
#include "tests/stand/standfixture.h"

#include <QJsonDocument>

using namespace Qt::StringLiterals;
using standtest::change;
using standtest::inOrder;
using standtest::json;
using standtest::refusalText;
using standtest::Shop;
using standtest::StandBooks;

namespace {

/// What somebody did to the file behind the stand's back, and what is then said of the books.
struct Damage
{
    const char* name;
    QStringList statements;
    const char* told;
};

const auto withoutChain = u"DROP TRIGGER entries_follow"_s;
const auto withoutGuards =
    QStringList{withoutChain, u"DROP TRIGGER entries_stay"_s, u"DROP TRIGGER entries_remain"_s,
                u"DROP TRIGGER operations_stay"_s, u"DROP TRIGGER operations_remain"_s};
/// The last entry of the customer who has spent.
const auto customersLast = u"(SELECT max(entries.n) FROM entries JOIN accounts ON accounts.id = account "
                           "WHERE kind = 'customer')"_s;

QList<Damage> damages()
{
    const auto entry = u"INSERT INTO entries(operation, account, amount, balance) "_s;
    const auto operation = u"INSERT INTO operations(time, operation, receipt_number, card, check_identifier, "
                           "asked, names, points, root, answer) "_s;
    return {
        {"Unbalanced",
         {withoutChain, entry + u"SELECT max(n), 1, 5, 5 FROM operations"_s},
         "do not add up to 0"},
        {"Overdrawn",
         {withoutChain, entry + u"SELECT 2, account, -50000, -22000 FROM cards "
                                "WHERE number = '2000000000055'"_s},
         "the balance of account"},
        {"CreditedDebt",
         {withoutChain, u"INSERT INTO accounts(id, notation, kind, owner) VALUES (99, 0, 'debt', 1)"_s,
          entry + u"VALUES (1, 99, 5, 5)"_s},
         "the debt of account 99 is a credit"},
        {"Changed",
         withoutGuards + QStringList{u"UPDATE entries SET amount = amount - 1 WHERE n = "_s + customersLast},
         "does not follow from the one before it"},
        {"Lost", withoutGuards + QStringList{u"DELETE FROM entries WHERE n = "_s + customersLast},
         "is missing"},
        {"LostInTheMiddle", withoutGuards + QStringList{u"DELETE FROM entries WHERE n = 1"_s},
         "entry 1 is missing"},
        {"Doubled",
         {withoutChain,
          entry + u"SELECT operation, account, amount, balance FROM entries WHERE n = "_s + customersLast},
         "does not follow from the one before it"},
        {"Reordered",
         withoutGuards +
             QStringList{
                 u"UPDATE entries SET operation = 1 WHERE operation = (SELECT max(n) FROM operations)"_s},
         "belongs to an earlier operation"},
        {"OperationLost",
         withoutGuards + QStringList{u"DELETE FROM operations WHERE n = (SELECT max(n) FROM operations)"_s},
         "is missing"},
        {"DatedBack",
         withoutGuards + QStringList{u"UPDATE operations SET time = '2001-01-01T00:00:00.000Z' "
                                     "WHERE n = (SELECT max(n) FROM operations)"_s},
         "is dated before the one before it"},
        {"TakenBackTwice",
         {operation + u"SELECT time, 'refusal', 'x', card, '', 0, '', 2001, n, '' FROM operations "
                      "WHERE operation = 'spending' AND receipt_number = '1'"_s},
         "more is taken back of operation"},
        {"PositionTakenBackTwice",
         {operation + u"SELECT time, 'refusal', 'x', card, '', 0, '', 0, n, '' FROM operations "
                      "WHERE operation = 'spending' AND receipt_number = '1'"_s,
          u"INSERT INTO shares SELECT max(n), '1', 0, 0, 2001 FROM operations"_s},
         "more is taken back of a position"},
        {"PositionsThatDoNotAddUp",
         {u"INSERT INTO shares SELECT max(n), '77', 0, 0, 1 FROM operations"_s},
         "do not add up to its points"},
        {"MovesNothing",
         {operation + u"SELECT time, 'earning', 'x', card, '', 0, '', 2001, NULL, '' FROM operations "
                      "WHERE operation = 'spending' AND receipt_number = '1'"_s},
         "does not move its points"},
    };
}

void PrintTo(const Damage& damage, std::ostream* out) { *out << damage.name; }

class StandDamagedBooks : public StandBooks, public ::testing::WithParamInterface<Damage>
{};

TEST_P(StandDamagedBooks, AreTold)
{
    {
        Shop shop(arguments());
        shop.forcePayment({.number = u"1"_s}, u"20.00"_s);
        shop.forcePayment({.number = u"2"_s}, u"5.00"_s);
        EXPECT_EQ(shop.page("invariants"), json(inOrder));
        shop.kill();
    }
    ASSERT_TRUE(change(m_file, GetParam().statements));
    Shop shop(arguments());
    const auto page = shop.page("invariants");
    EXPECT_FALSE(page[u"ok"].toBool(true));
    EXPECT_THAT(QJsonDocument(page[u"violations"].toArray()).toJson().toStdString(),
                ::testing::HasSubstr(GetParam().told));
}

INSTANTIATE_TEST_SUITE_P(By, StandDamagedBooks, ::testing::ValuesIn(damages()),
                         [](const auto& damage) { return damage.param.name; });

TEST_F(StandBooks, EveryOperationIsCheckedBeforeItCounts)
{
    {
        Shop shop(arguments());
        shop.kill();
    }
    ASSERT_TRUE(change(m_file, {u"CREATE TRIGGER gremlin AFTER INSERT ON shares BEGIN "
                                "INSERT INTO shares VALUES (NEW.operation, 'ghost', 0, 0, 5); END"_s}));
    {
        Shop shop(arguments());
        EXPECT_EQ(refusalText(shop.forcePayment({}, u"20.00"_s)), "500 Внутренняя ошибка сервиса");
        EXPECT_EQ(shop.balance(), 30000);
        EXPECT_EQ(shop.page("invariants"), json(inOrder));
        shop.kill();
    }
    ASSERT_TRUE(change(m_file, {u"DROP TRIGGER gremlin"_s}));
    Shop shop(arguments());
    EXPECT_EQ(shop.forcePayment({}, u"20.00"_s).status, 200);
}

TEST_F(StandBooks, WhatIsWrittenCannotBeChangedNorOverdrawAnAccount)
{
    {
        Shop shop(arguments());
        shop.forcePayment({}, u"20.00"_s);
        shop.post("receipt", standtest::anonymous(u"a-1"_s, 0));
        shop.kill();
    }
    for (const auto& table : {u"entries"_s, u"operations"_s, u"shares"_s, u"anonymous"_s, u"exchanges"_s}) {
        EXPECT_FALSE(change(m_file, {u"UPDATE %1 SET rowid = rowid"_s.arg(table)})) << table.toStdString();
        EXPECT_FALSE(change(m_file, {u"DELETE FROM %1"_s.arg(table)})) << table.toStdString();
    }
    const auto insert = [this](const QString& operation, int amount, int balance) {
        return change(m_file,
                      {u"INSERT INTO entries(operation, account, amount, balance) "
                       "SELECT %1, account, %2, %3 FROM cards WHERE number = '2000000000055'"_s.arg(operation)
                           .arg(amount)
                           .arg(balance)});
    };
    const auto newest = u"(SELECT max(n) FROM operations)"_s;
    EXPECT_FALSE(insert(newest, -28001, -1)) << "below nothing";
    EXPECT_FALSE(insert(newest, -1, 28000)) << "not what was left";
    EXPECT_FALSE(insert(u"1"_s, -1, 27999)) << "to an operation that is over";
    EXPECT_TRUE(insert(newest, -28000, 0)) << "down to nothing an account may go";
}

} // namespace
