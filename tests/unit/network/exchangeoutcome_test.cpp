#include "host/network/exchangeoutcome.h"

#include "tests/unit/network/scene.h"

#include <QMetaEnum>

#include <gmock/gmock.h>

#include <map>

using namespace Qt::StringLiterals;
using network::ExchangeOutcome;
using ErrorCode = RestClient::ErrorCode;
using enum network::ExchangeOutcome;

namespace {

/// The codes from one to the other, both included.
struct Codes
{
    int first;
    int last;
    ExchangeOutcome outcome;
};

// In the order of the codes, so that a gap or an overlap is seen.
const std::vector<Codes> all{
    {0, 0, Accepted},      {1, 2, NoAnswer}, // Connect, Timeout
    {3, 3, NeverSent},                       // Tls
    {4, 6, NotTheService},                   // BrokenAnswer, TooLarge, Redirect
    {7, 8, Unsendable},                      // BadUrl, BadHeader
    {9, 399, NoAnswer},                      // nobody gives them
    {400, 400, Rejected},  {401, 401, Unauthorized}, {402, 402, Denied},     {403, 403, Forbidden},
    {404, 407, Denied},    {408, 408, Unfinished},   {409, 409, Rejected},   {410, 421, Denied},
    {422, 422, Rejected},  {423, 424, Denied},       {425, 425, Unfinished}, {426, 428, Denied},
    {429, 429, Throttled}, {430, 499, Denied},       {500, 599, Failing},
};

TEST(ExchangeOutcome, IsOneForEachCode)
{
    int next = 0;
    for (const Codes& codes : all) {
        ASSERT_EQ(codes.first, next) << "each code once";
        for (; next <= codes.last; ++next)
            EXPECT_EQ(network::outcomeOf(next), codes.outcome) << next;
    }
    EXPECT_EQ(next, 600);
    EXPECT_EQ(network::outcomeOf(999), Failing);
    EXPECT_EQ(network::outcomeOf(-1), NoAnswer);
}

TEST(ExchangeOutcome, IsOneForEachWordOfTheClients)
{
    const std::map<ErrorCode, ExchangeOutcome> words{
        {ErrorCode::None, Accepted},          {ErrorCode::Connect, NoAnswer},
        {ErrorCode::Timeout, NoAnswer},       {ErrorCode::Tls, NeverSent},
        {ErrorCode::BadUrl, Unsendable},      {ErrorCode::BrokenAnswer, NotTheService},
        {ErrorCode::BadHeader, Unsendable},   {ErrorCode::TooLarge, NotTheService},
        {ErrorCode::Redirect, NotTheService},
    };
    const QMetaEnum known = QMetaEnum::fromType<ErrorCode>();
    EXPECT_EQ(words.size(), static_cast<std::size_t>(known.keyCount()));
    for (const auto& [word, outcome] : words)
        EXPECT_EQ(network::outcomeOf(code(word)), outcome) << known.valueToKey(code(word));
}

TEST(ExchangeCode, OfAnAnswerIsItsStatusOnlyWhenThatIsAnError)
{
    EXPECT_EQ(network::codeOf(200, true), 0);
    EXPECT_EQ(network::codeOf(299, true), 0);
    EXPECT_EQ(network::codeOf(200, false), code(ErrorCode::BrokenAnswer));
    EXPECT_EQ(network::codeOf(199, true), code(ErrorCode::BrokenAnswer));
    EXPECT_EQ(network::codeOf(0, true), code(ErrorCode::Connect));
    for (const int status : {300, 302, 399})
        EXPECT_EQ(network::codeOf(status, true), code(ErrorCode::Redirect)) << status;
    for (const int status : {400, 401, 499, 500, 599, 999})
        EXPECT_EQ(network::codeOf(status, false), status);
}

TEST(ExchangeCode, IsAnErrorStatusOrHasANameOfTheClients)
{
    EXPECT_TRUE(network::isErrorStatus(400));
    EXPECT_FALSE(network::isErrorStatus(399));
    EXPECT_FALSE(network::isErrorStatus(0));
    EXPECT_EQ(network::failureName(code(ErrorCode::Timeout)), u"Timeout"_s);
    EXPECT_EQ(network::failureName(0), QString());
    EXPECT_EQ(network::failureName(404), QString());
}

} // namespace
