#include "till/audit/exchangetext.h"
#include "till/scenario/trace.h"

#include <gmock/gmock.h>

using namespace Qt::StringLiterals;

namespace till {

namespace {

RestExchange exchangeOf(const QByteArray& request, const QByteArray& answer)
{
    return {.method = u"PUT"_s,
            .url = QUrl(u"https://service.example/v2/card/2000000000017/pay?phone=79001234567"_s),
            .requestBody = request,
            .status = 200,
            .errorCode = 0,
            .answerBody = answer,
            .milliseconds = 12};
}

} // namespace

TEST(TillTrace, HidesCodesPasswordsAndNumbersAtAnyDepth)
{
    const QStringList lines =
        redacted(exchangeOf(R"({ "code": 1234, "card": "2000000000017", "sum": 10.5 })",
                            R"([ { "inner": { "Password": "hush", "phone": 79001234567 } } ])"));
    EXPECT_EQ(lines, (QStringList{
                         u"PUT /v2/card/…0017/pay  200, 12 ms"_s,
                         u"> {"_s,
                         u">     \"card\": \"…0017\","_s,
                         u">     \"code\": \"***\","_s,
                         u">     \"sum\": 10.5"_s,
                         u"> }"_s,
                         u"< ["_s,
                         u"<     {"_s,
                         u"<         \"inner\": {"_s,
                         u"<             \"Password\": \"***\","_s,
                         u"<             \"phone\": \"…4567\""_s,
                         u"<         }"_s,
                         u"<     }"_s,
                         u"< ]"_s,
                     }));
}

TEST(TillTrace, HidesWhatAMemberIsWhateverItLooksLike)
{
    const QString shown =
        redactedBody(R"({ "Card": "KYR-ABCD-EF", "number": 12, "mobile": "8 (900) 1-2", "last_name": "Орлова",
                          "birth_day": "1980-01-02", "email": "a@b", "phone": null, "sum": 12345.67,
                          "cards_data": [ "2000 0000 0000 17" ], "2000000000017": 1 })")
            .join(u' ');
    EXPECT_EQ(shown.simplified(),
              u"{ \"Card\": \"…CDEF\", \"birth_day\": \"***\", \"cards_data\": [ \"…0017\" ], "
              "\"email\": \"***\", \"last_name\": \"***\", \"mobile\": \"…\", \"number\": \"…\", "
              "\"phone\": null, \"sum\": 12345.67, \"…0017\": 1 }"_s);
}

TEST(TillTrace, ABodyThatIsNotJsonIsOnlyCounted)
{
    const QStringList lines = redacted(exchangeOf("password=hush", ""));
    EXPECT_EQ(lines, (QStringList{u"PUT /v2/card/…0017/pay  200, 12 ms"_s,
                                  u"> 13 bytes that are not a JSON object or list"_s}));
}

TEST(TillTrace, AnExchangeWithoutAnAnswerNamesTheFailure)
{
    RestExchange exchange = exchangeOf({}, {});
    exchange.status = 0;
    exchange.errorCode = static_cast<int>(RestClient::ErrorCode::Timeout);
    EXPECT_EQ(redacted(exchange), QStringList{u"PUT /v2/card/…0017/pay  no answer, 12 ms (Timeout)"_s});
}

} // namespace till
