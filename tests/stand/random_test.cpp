// Some hundreds of operations at random, against a reckoning of the test's own.

#include "tests/stand/randomday.h"

#include <gtest/gtest.h>

using standtest::RandomDay;
using standtest::Shop;

namespace {

TEST(StandBooksAtRandom, AgreeWithTheAnswersAndStayInOrder)
{
    Shop shop(RandomDay::arguments());
    RandomDay day(
        [&shop](const QByteArray& operation, const QJsonObject& body) { return shop.post(operation, body); });
    for (int number = 1; number <= 500; ++number)
        day.operate(number);
    EXPECT_GT(day.succeeded(), 300);
    day.expectTheBooksToAgree(shop);
}

} // namespace
