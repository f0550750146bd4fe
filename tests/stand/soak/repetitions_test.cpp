// Every request three times: at once again, and again a day later, while the stand is killed now and then.

#include "tests/stand/randomday.h"
#include "tests/stand/soak/sizes.h"

#include <gtest/gtest.h>

#include <QDateTime>
#include <QTemporaryDir>

#include <memory>
#include <thread>

using namespace Qt::StringLiterals;
using standtest::RandomDay;
using standtest::Reply;
using standtest::Shop;

namespace {

struct Sent
{
    QByteArray operation;
    QJsonObject body;
    QByteArray answer;
};

class LongRun
{
public:
    LongRun() { start(); }

    /// Sends until there is an answer, and then once more. When a kill is due, it comes while the request is
    /// under way.
    Reply send(const QByteArray& operation, const QJsonObject& body)
    {
        auto reply = m_killIsDue ? sendAndKill(operation, body) : m_shop->post(operation, body);
        EXPECT_NE(reply.status, 0);
        ++m_requests;
        // What failed is not remembered, so it may be answered otherwise later.
        if (reply.status == 200) {
            if (!isReplacedByARepeat(operation))
                expectAgain({operation, body, reply.body});
            m_tomorrow.append({operation, body, reply.body});
        }
        return reply;
    }

    void killAtTheNextRequest() { m_killIsDue = true; }

    /// What was sent the day before comes a third time.
    void beginDay()
    {
        m_time = m_time.addDays(1);
        const auto body = R"({"time": ")" + m_time.toString(Qt::ISODate).toLatin1() + "\"}";
        EXPECT_EQ(
            standtest::send({.url = m_shop->root() + "/stand/clock", .method = "POST", .body = body}).status,
            200);
        repeatYesterday();
    }

    void repeatYesterday()
    {
        for (const auto& sent : std::exchange(m_tomorrow, {}))
            expectAgain(sent);
    }

    [[nodiscard]] const Shop& shop() const { return *m_shop; }
    [[nodiscard]] qint64 requests() const { return m_requests; }

private:
    /// An approval is, until it is confirmed.
    static bool isReplacedByARepeat(const QByteArray& operation) { return operation == "payment-c2b"; }

    void start()
    {
        m_shop = std::make_unique<Shop>(RandomDay::arguments() +
                                        QStringList{u"--data"_s, m_directory.filePath(u"stand.sqlite"_s),
                                                    u"--clock"_s, m_time.toString(Qt::ISODate)});
    }

    void expectAgain(const Sent& sent)
    {
        const auto again = m_shop->post(sent.operation, sent.body);
        EXPECT_EQ(again.status, 200) << again.body.constData();
        EXPECT_EQ(again.body, sent.answer);
        ++m_requests;
    }

    Reply sendAndKill(const QByteArray& operation, const QJsonObject& body)
    {
        m_killIsDue = false;
        Reply before;
        std::thread till([&] { before = m_shop->post(operation, body); });
        // Earlier or later in the request's life, another moment each time.
        m_moment = (m_moment + 137) % 1500;
        std::this_thread::sleep_for(std::chrono::microseconds(m_moment));
        m_shop->kill();
        till.join();
        start();
        auto after = m_shop->post(operation, body);
        if (before.status == 200 && !isReplacedByARepeat(operation)) {
            EXPECT_EQ(before.body, after.body) << "what was answered is kept";
        }
        m_requests += 1;
        return after;
    }

    const QTemporaryDir m_directory;
    QDateTime m_time = QDateTime::fromString(u"2030-01-01T09:00:00Z"_s, Qt::ISODate);
    std::unique_ptr<Shop> m_shop;
    QList<Sent> m_tomorrow;
    bool m_killIsDue = false;
    int m_moment = 0;
    qint64 m_requests = 0;
};

TEST(StandSoak, RequestsSentThreeTimesOverRestartsAndDaysComeToWhatOneOfEachDoes)
{
    const auto& sizes = standtest::sizes();
    LongRun run;
    RandomDay books(
        [&run](const QByteArray& operation, const QJsonObject& body) { return run.send(operation, body); });
    const auto perDay = std::max(sizes.operations / sizes.days, 1);
    const auto perRestart = std::max(sizes.operations / sizes.restarts, 1);
    for (int number = 1; number <= sizes.operations && !::testing::Test::HasFailure(); ++number) {
        if (number % perDay == 0)
            run.beginDay();
        if (number % perRestart == 0)
            run.killAtTheNextRequest();
        books.operate(number);
        if (number % perRestart == 0)
            books.expectTheBooksToAgree(run.shop());
    }
    run.repeatYesterday();
    books.expectTheBooksToAgree(run.shop());
    EXPECT_GT(books.succeeded(), sizes.operations / 2);
    EXPECT_GT(run.requests(), 3 * books.succeeded() - 1);
    RecordProperty("requests", static_cast<int>(run.requests()));
}

} // namespace
