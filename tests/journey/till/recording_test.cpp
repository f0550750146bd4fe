#include "tests/journey/till/conformance.h"
#include "tests/journey/till/kepttill.h"

#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QThread>

#include <csignal>

using namespace Qt::StringLiterals;
using namespace story;
using ::testing::AllOf;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;

// A problem of the field, written down at one till and played back to another.

namespace tilltest {

namespace {

QList<QJsonObject> recorded(const QString& name)
{
    QList<QJsonObject> lines;
    for (const QByteArray& line : contentOf(name).split('\n')) {
        if (!line.isEmpty())
            lines.append(QJsonDocument::fromJson(line).object());
    }
    return lines;
}

/// A stand that answers as a recording has it.
class Replay
{
public:
    explicit Replay(const QString& recording)
        : m_stand({u"--replay"_s, recording})
        , m_url(QString::fromLatin1(m_stand.url()))
    {}

    [[nodiscard]] QString url() const { return m_url; }
    /// Ends it: what it says was different.
    std::string differences()
    {
        m_stand.signal(SIGTERM);
        EXPECT_EQ(m_stand.exitStatus(), 0);
        return m_stand.errors().toStdString();
    }

private:
    standtest::StandProcess m_stand;
    QString m_url;
};

class TillRecording : public testing::Test
{
protected:
    [[nodiscard]] Ran play(const Steps& steps, const QString& url, const QString& made) const
    {
        return runJson(steps, {u"--server-url"_s, url, u"--record"_s, made},
                       {{u"KYRLoyalty:user"_s, u"shop"_s},
                        {u"KYRLoyalty:password"_s, u"secret-of-the-shop"_s},
                        {u"KYRLoyalty:smsVerification"_s, coded},
                        {u"KYRLoyalty:timeout"_s, 1}});
    }

    const Files files;
    const Service service;
    const QString file = files.path(u"exchanges.jsonl"_s);
    bool coded = false;
};

} // namespace

TEST_F(TillRecording, LeadsAnotherTillThroughTheSameReceipt)
{
    for (const auto& fault :
         {QJsonObject{{u"operation"_s, u"force-payment-c2b"_s}, {u"fault"_s, u"apply-then-drop"_s}},
          QJsonObject{{u"operation"_s, u"payment-b2c"_s}, {u"fault"_s, u"status"_s}},
          QJsonObject{{u"operation"_s, u"refuse-payment"_s}, {u"fault"_s, u"status"_s}, {u"code"_s, 422}}})
        service.arm(fault);
    const Steps receipt = sale + card + Step("request") + spend.mayFail() + spend + Step("pay") +
                          Step("deliver").mayFail() + openSale("R-2", {tea(100)}) + card +
                          spendPoints(400).mayFail() + Step("rollback") + openSale("R-3", {honey(50)}) +
                          Step("pay") + Step("deliver");
    const Ran first = play(receipt, service.url(), file);
    EXPECT_EQ(first.status, 0) << first.out.constData();
    ASSERT_GT(recorded(file).size(), 10);

    Replay replay(file);
    const Ran second = play(receipt, replay.url(), files.path(u"again.jsonl"_s));
    EXPECT_EQ(second.status, 0);
    const auto steps = linesOf(first);
    const auto again = linesOf(second);
    ASSERT_EQ(again.size(), steps.size());
    for (qsizetype i = 0; i + 1 < steps.size(); ++i) // the last is the summary
        EXPECT_EQ(QJsonDocument(again[i]).toJson().toStdString(),
                  QJsonDocument(steps[i]).toJson().toStdString());
    EXPECT_EQ(errorOf(steps[3]).substr(0, 15), errorOf(again[3]).substr(0, 15));
    EXPECT_FALSE(steps[3][u"ok"_s].toBool());
    EXPECT_EQ(replay.differences(), "");
}

TEST_F(TillRecording, GivesEachReceiptItsOwnAnswers)
{
    service.arm({{u"operation"_s, u"force-payment-c2b"_s}, {u"fault"_s, u"drop"_s}});
    const Steps begin = sale + card + spend.mayFail();
    const Steps end =
        rollback() + openSale("R-2", {tea(300)}) + card + spendPoints(290).mayFail() + rollback();
    const Ran first = play(begin + spend + end, service.url(), file);
    // The second cashier does not ask again.
    Replay replay(file);
    const Ran second = play(begin + end, replay.url(), files.path(u"again"_s));
    EXPECT_EQ(errorOf(linesOf(first)[7]), "Сумма списания больше допустимой");
    EXPECT_EQ(errorOf(linesOf(second)[6]), "Сумма списания больше допустимой");
    EXPECT_THAT(replay.differences(), HasSubstr("not asked for: POST v2/partner/operation/force-payment-c2b, "
                                                "receipt or number 1"));
}

TEST_F(TillRecording, BringsEachKindOfFailureBack)
{
    for (const QString& fault : {u"reset"_s, u"hang"_s, u"large"_s, u"redirect"_s, u"html"_s, u"json"_s,
                                 u"truncate"_s, u"status"_s}) {
        SCOPED_TRACE(fault.toStdString());
        const QString made = files.path(fault);
        const QString again = files.path(fault + u"-again"_s);
        service.arm({{u"operation"_s, u"any"_s}, {u"fault"_s, fault}});
        const Steps steps = sale + card.mayFail();
        static_cast<void>(play(steps, service.url(), made));
        service.disarm();
        Replay replay(made);
        static_cast<void>(play(steps, replay.url(), again));
        ASSERT_EQ(recorded(made).size(), 1);
        ASSERT_EQ(recorded(again).size(), 1);
        EXPECT_TRUE(recorded(made)[0][u"failure"_s] != u""_s || recorded(made)[0][u"status"_s] == 503);
        for (const QString& member : {u"failure"_s, u"status"_s})
            EXPECT_EQ(recorded(again)[0][member], recorded(made)[0][member]) << member.toStdString();
        EXPECT_EQ(replay.differences(), "");
    }
}

TEST_F(TillRecording, TellsNothingOfTheCustomerAndNoSecret)
{
    coded = true;
    static_cast<void>(
        play(sale + Step("identifyByPhone").with("phone", phone) + spend.withCode(code) + Step("rollback"),
             service.url(), file));
    const std::string all = contentOf(file).toStdString();
    for (const QString& secret :
         {number, phone, code, u"secret-of-the-shop"_s, u"Authorization"_s, u"Basic"_s,
          QString::fromLatin1(QByteArray("shop:secret-of-the-shop").toBase64())})
        EXPECT_THAT(all, Not(HasSubstr(secret.toStdString())));
    const QFileInfo info(file);
    EXPECT_EQ(info.permissions() &
                  (QFile::ReadGroup | QFile::ReadOther | QFile::WriteGroup | QFile::WriteOther),
              QFile::Permissions());
    // The same card has the same number in its place, in a path as in a body.
    QSet<QString> cards;
    QJsonObject customer;
    for (const QJsonObject& line : recorded(file)) {
        if (line[u"path"_s].toString().contains(u"/card/"_s))
            cards.insert(line[u"path"_s].toString().section(u"/card/"_s, 1).section(u'/', 0, 0));
        if (line[u"request"_s].toObject().contains(u"card"_s))
            cards.insert(line[u"request"_s][u"card"_s].toString());
        if (line[u"path"_s].toString().contains(u"/phone/"_s))
            cards.insert(line[u"answer"_s][u"data"_s][u"cards_data"_s][0][u"number"_s].toString());
        if (line[u"answer"_s][u"data"_s].toObject().contains(u"user_data"_s))
            customer = line[u"answer"_s][u"data"_s][u"user_data"_s].toObject();
    }
    EXPECT_EQ(cards.size(), 1);
    EXPECT_EQ(cards.values().first().size(), number.size());
    EXPECT_EQ(customer[u"last_name"_s], u"***"_s);
    EXPECT_EQ(recorded(file).last()[u"operation"_s], u"cancel-payment"_s);
}

TEST_F(TillRecording, IsThereLineByLineAndReplacesNoOther)
{
    QProcess shell;
    start(shell,
          {u"shell"_s, u"--json"_s, u"--server-url"_s, service.url(), u"--record"_s, file, u"--config"_s,
           files.write(u"till.toml"_s, "[KYRLoyalty]\nuser = \"shop\"\npassword = \"x\"\n")});
    tilltest::play(shell, sale);
    tilltest::play(shell, card.mayFail());
    ASSERT_EQ(recorded(file).size(), 1); // and the shell goes on
    EXPECT_EQ(recorded(file)[0][u"status"_s], 401);
    shell.closeWriteChannel();
    EXPECT_TRUE(shell.waitForFinished(patienceMs));

    const QByteArray before = contentOf(file);
    EXPECT_EQ(play(sale, service.url(), file).status, 2);
    EXPECT_EQ(contentOf(file), before);
}

TEST_F(TillRecording, IsMadeOfTheDeliveryServiceToo)
{
    const KeptTill till;
    EXPECT_EQ(runJson(openSale("R-1", {tea(100)}) + Step("pay"),
                      till.arguments() + QStringList{u"--server-url"_s, u"http://127.0.0.1:9/"_s})
                  .status,
              0);
    QProcess delivery;
    start(delivery,
          QStringList{u"deliver"_s, u"--server-url"_s, u"http://127.0.0.1:9/"_s, u"--record"_s, file} +
              till.arguments());
    QElapsedTimer time;
    time.start();
    while (recorded(file).isEmpty() && time.elapsed() < patienceMs)
        QThread::msleep(20);
    delivery.terminate();
    EXPECT_TRUE(delivery.waitForFinished(patienceMs));
    ASSERT_FALSE(recorded(file).isEmpty());
    EXPECT_EQ(recorded(file)[0][u"path"_s], u"/v2/partner/operation/receipt"_s);
    EXPECT_EQ(recorded(file)[0][u"failure"_s], u"Connect"_s);
}

TEST_F(TillRecording, SaysWhatWasAskedForAndNotRecordedAndTheOtherWayRound)
{
    static_cast<void>(play(sale + card, service.url(), file));
    Replay replay(file);
    const Ran ran = play(sale + Step("identifyByPhone").with("phone", phone).mayFail(), replay.url(),
                         files.path(u"again"_s));
    EXPECT_THAT(errorOf(linesOf(ran)[1]), HasSubstr("Этого запроса нет в записи: GET "));
    EXPECT_THAT(
        replay.differences(),
        AllOf(
            HasSubstr("stand: asked for, but not recorded: GET v2/partner/operation/user/phone/*/user-info"),
            HasSubstr("stand: recorded, but not asked for: GET v2/partner/card/*/card-info")));
}

TEST(StandReplay, RefusesWhatIsNoRecordingWithItsLine)
{
    const Files files;
    for (const auto& [content, words] :
         {std::pair{"{\"method\":\"GET\",\"path\":\"/v2/x\"}\nno", ": line 2 is no JSON object"},
          std::pair{"{\"operation\":\"receipt\",\"status\":200}",
                    ": line 1 has no \"method\" and \"path\""}}) {
        standtest::StandProcess stand({u"--replay"_s, files.write(u"r.jsonl"_s, content)});
        EXPECT_EQ(stand.url(), "");
        EXPECT_EQ(stand.exitStatus(), 1);
        EXPECT_THAT(stand.errors().toStdString(), HasSubstr(words));
    }
}

} // namespace tilltest
