#include "host/utils/logging.h"
#include "till/audit/exchangetext.h"
#include "till/audit/livetrace.h"
#include "till/scenario/trace.h"

#include <gmock/gmock.h>

#include <malloc.h>

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

/// A file for a trace to write to.
class LiveTraceFile
{
public:
    LiveTraceFile() { Q_CHECK_PTR(m_file); }
    ~LiveTraceFile() { std::fclose(m_file); }
    Q_DISABLE_COPY_MOVE(LiveTraceFile)

    [[nodiscard]] std::FILE* get() const { return m_file; }
    [[nodiscard]] std::string text() const
    {
        std::string all(static_cast<std::size_t>(std::ftell(m_file)), '\0');
        std::rewind(m_file);
        all.resize(std::fread(all.data(), 1, all.size(), m_file));
        return all;
    }

private:
    std::FILE* m_file = std::tmpfile();
};

/// An exchange that ends before anything is sent.
void ask(const QString& path)
{
    QUrl url;
    url.setScheme(u"http"_s);
    url.setPath(path);
    RestClient().get(url, {}, {});
}

/// The bytes that the program has allocated at this moment.
std::size_t allocated() { return mallinfo2().uordblks; }

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

TEST(TillTrace, ShowsTheNumbersOfReceiptsWhole)
{
    const QString shown =
        redactedBody(
            R"({ "card": "2000000000017", "check_identifier": "2026112100017", "description": "1717243200",
                          "receipt_number": "1717243200-cancel", "receipt_to_cancel": "1717243200",
                          "receipt_to_refuse": "1717243201", "refuse_receipt_number": "1717243201refuse" })")
            .join(u' ');
    EXPECT_EQ(shown.simplified(),
              u"{ \"card\": \"…0017\", \"check_identifier\": \"2026112100017\", \"description\": \"…3200\", "
              "\"receipt_number\": \"1717243200-cancel\", \"receipt_to_cancel\": \"1717243200\", "
              "\"receipt_to_refuse\": \"1717243201\", \"refuse_receipt_number\": \"1717243201refuse\" }"_s);
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

TEST(TillTrace, CollectsLinesAndExchangesUntilTheyAreTaken)
{
    Trace trace(LogLevel::Debug);
    utils::logger(u"queue"_s)->info(u"one\ntwo"_s);
    ask(u"/v2/card/2000000000017"_s);
    const QList<TraceEntry> entries = trace.take();
    ASSERT_EQ(entries.size(), 2) << "the network's own line tells the same";
    EXPECT_EQ(headedLines(entries[0]), (QStringList{u"info    [queue]  one"_s, u"                 two"_s}));
    EXPECT_THAT(headedLines(entries[1]).join(u'\n').toStdString(),
                testing::MatchesRegex("http     GET /v2/card/…0017  no answer, [0-9]+ ms .BadUrl."));
    EXPECT_EQ(trace.take().size(), 0);
}

TEST(TillLiveTrace, WritesWhatATraceCollectsAsItHappens)
{
    const LiveTraceFile file;
    const LiveTrace trace(LogLevel::Debug, file.get());
    utils::logger(u"queue"_s)->warn(u"one\ntwo\x1b[2J"_s);
    const std::string line = file.text();
    EXPECT_THAT(line, testing::StartsWith("warning [queue]  one\n                 two"));
    EXPECT_THAT(line, testing::Not(testing::HasSubstr("\x1b"))) << "a terminal would obey it";
    ask(u"/v2/card/2000000000017"_s);
    EXPECT_THAT(file.text(), testing::AllOf(testing::StartsWith(line),
                                            testing::HasSubstr("\nhttp     GET /v2/card/…0017  no answer")));
}

TEST(TillLiveTrace, LeavesOutWhatIsBelowItsLevel)
{
    const LiveTraceFile file;
    const LiveTrace trace(LogLevel::Warning, file.get());
    utils::logger(u"queue"_s)->info(u"all is well"_s);
    ask(u"/v2"_s);
    EXPECT_EQ(file.text(), "");
}

TEST(TillLiveTrace, KeepsNothingOfAWholeDay)
{
    const LiveTraceFile file;
    const LiveTrace trace(LogLevel::Debug, file.get());
    const auto day = [] {
        for (int i = 0; i < 5000; ++i) {
            utils::logger(u"queue"_s)->warn(u"a line that would take room if anybody kept it"_s);
            ask(u"/v2/and/an/exchange/that/would"_s);
        }
    };
    day(); // what is allocated once
    const std::size_t before = allocated();
    day();
    EXPECT_LT(allocated(), before + 100'000) << "ten thousand entries would take two million";
}

} // namespace till
