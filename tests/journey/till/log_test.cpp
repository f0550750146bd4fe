#include "host/queue/messagequeue.h"
#include "host/storage/datadirectory.h"
#include "tests/journey/till/tillprocess.h"
#include "tests/support/httpserver.h"

#include <gmock/gmock.h>

using namespace Qt::StringLiterals;
using namespace story;
using test_support::HttpAnswer;
using test_support::HttpServer;
using ::testing::AllOf;
using ::testing::Contains;
using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::Not;

namespace tilltest {

namespace {

/// What a till writes to its log file.
class TillLog : public testing::Test
{
protected:
    /// The log file of what was played, from debug on, without the times.
    [[nodiscard]] std::vector<std::string> linesOf(const Steps& steps, const QString& service = {}) const
    {
        QStringList options{u"--data-dir"_s, directory, u"--log-file"_s, log, u"--log-level"_s, u"debug"_s};
        if (!service.isEmpty())
            options << u"--server-url"_s << service;
        static_cast<void>(runJson(steps, options));
        return lines();
    }

    [[nodiscard]] std::vector<std::string> lines() const
    {
        std::vector<std::string> all;
        for (const QByteArray& line : contentOf(log).trimmed().split('\n'))
            all.push_back(line.sliced(line.indexOf(' ') + 1).toStdString());
        return all;
    }

    static std::vector<std::string> those(const std::vector<std::string>& lines, const std::string& part)
    {
        std::vector<std::string> found;
        std::copy_if(lines.begin(), lines.end(), std::back_inserter(found),
                     [&part](const std::string& line) { return line.find(part) != std::string::npos; });
        return found;
    }

    const Files files;
    const QString directory = files.path(u"data"_s);
    const QString log = files.path(u"till.log"_s);
};

} // namespace

TEST_F(TillLog, NamesTheReceiptOnEachLineOfIt)
{
    const auto all =
        linesOf(openSale("R-1", {tea(300)}) + card + spend + pay() + openSale("R-2", {tea(10)}) + rollback());
    EXPECT_THAT(all, Contains("info    [kyrloyalty] [R-1] Начисление бонусных баллов"));
    EXPECT_THAT(all,
                Contains(AllOf(HasSubstr("debug   [network] [R-1] POST "), HasSubstr("payment-b2c: 200"))));
    EXPECT_THAT(all, Contains("info    [kyrloyalty] [R-2] Сброс состояния бонусной системы"));
    EXPECT_THAT(those(all, "[kyrloyalty]"), Each(HasSubstr("] [R-")));
}

TEST_F(TillLog, NamesTheReceiptOfEachMessageThatIsDelivered)
{
    HttpServer service;
    storage::setDataDirectory(directory);
    for (const QString& receipt : {u"R-1"_s, u"R-2"_s, u"R-3"_s})
        MessageQueue().enqueue(u"kyrloyalty"_s, receipt,
                               {{u"method"_s, u"POST"_s},
                                {u"url"_s, service.url(u"/of-"_s + receipt)},
                                {u"timeout"_s, 5},
                                {u"body"_s, QByteArray("{}")}},
                               {});
    storage::setDataDirectory({});
    service.enqueue(HttpAnswer::status(200, "{}"));
    service.enqueue(HttpAnswer::status(422));
    service.enqueue(HttpAnswer::status(200, "{}"));
    const Ran ran = run({u"queue"_s, u"deliver"_s, u"--data-dir"_s, directory, u"--log-file"_s, log,
                         u"--log-level"_s, u"debug"_s});
    const auto all = lines();
    for (const std::string receipt : {"R-1", "R-2", "R-3"})
        EXPECT_THAT(those(all, "/of-" + receipt),
                    ElementsAre(HasSubstr("[network] [" + receipt + "] POST ")));
    const auto parked = those(all, "is parked");
    ASSERT_EQ(parked.size(), 1);
    const std::string its = parked.front().substr(parked.front().find("message ") + 8, 1);
    EXPECT_EQ(parked.front(), "warning [network] [R-" + its + "] Queue: message " + its + " is parked");
    EXPECT_THAT(ran.err.toStdString(), HasSubstr("till: network: R-" + its + ": warning: Queue: message "));
}

TEST_F(TillLog, MasksNumbersButInTheTextsWhoseFormIsSettled)
{
    HttpServer service;
    for (int i = 0; i < 2; ++i)
        service.enqueue(
            HttpAnswer::status(409, R"({"data":[{"message":"Карта 2000000000017 заблокирована"}]})"));
    const auto all = linesOf(openSale("20261121000017", {tea(300)}) + identifyByPhone("79005550001") + card,
                             service.url().toString());
    EXPECT_THAT(all, Contains("info    [kyrloyalty] [20261121000017] Получение списка номеров карт по номеру "
                              "телефона '79005550001'"));
    EXPECT_THAT(those(all, "error   [kyrloyalty]"), Each(HasSubstr("Карта …0017 заблокирована")));
    EXPECT_THAT(those(all, "error   [kyrloyalty]"), Not(testing::IsEmpty()));
}

} // namespace tilltest
