#include "host/core/document.h"
#include "host/queue/messagequeue.h"
#include "host/storage/datadirectory.h"
#include "host/storage/documents.h"
#include "host/storage/storageerror.h"
#include "tests/journey/till/tillprocess.h"
#include "tests/stand/standprocess.h"
#include "tests/support/httpserver.h"
#include "tests/support/rawdatabase.h"
#include "till/admin/tool.h"

#include <QDateTime>
#include <QDir>
#include <QJsonArray>
#include <QJsonDocument>
#include <QLocale>

#include <gmock/gmock.h>

#include <unistd.h>

using namespace Qt::StringLiterals;
using test_support::HttpAnswer;
using test_support::HttpServer;
using ::testing::AllOf;
using ::testing::HasSubstr;
using ::testing::Not;

namespace tilltest {

namespace {

QByteArray dateHeader(int secondsAhead)
{
    const QDateTime time = QDateTime::currentDateTimeUtc().addSecs(secondsAhead);
    return "Date: " + QLocale::c().toString(time, u"ddd, dd MMM yyyy HH:mm:ss"_s).toUtf8() + " GMT";
}

const QByteArray noCards = R"({"data":{"cards_data":[]}})";
const QByteArray refusal = R"({"data":[{"message":"Требуется авторизация"}]})";

/// A till with everything in order, of which each test breaks one thing.
class TillDoctor : public testing::Test
{
protected:
    TillDoctor()
    {
        QDir().mkpath(directory);
        QFile::setPermissions(directory, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
        configure({});
    }

    void configure(const QByteArray& more) { configure(more, QFile::ReadOwner | QFile::WriteOwner); }
    void configure(const QByteArray& more, QFile::Permissions mode)
    {
        QFile::setPermissions(
            files.write(u"till.toml"_s, "[KYRLoyalty]\nuser = \"shop\"\npassword = \"hush\"\n" + more), mode);
    }

    /// The next answer.
    void answer(int status, const QByteArray& body = refusal)
    {
        server.enqueue(HttpAnswer::status(status, body, {dateHeader(0)}));
    }

    /// What the service says to the doctor when all is well: with credentials, and without.
    void answerWell(int secondsAhead = 0) { answerWell(server, {dateHeader(secondsAhead)}); }
    static void answerWell(HttpServer& service, const QList<QByteArray>& headers)
    {
        service.enqueue(HttpAnswer::status(200, noCards, headers));
        service.enqueue(HttpAnswer::status(401, refusal, headers));
    }

    /// Expects the service not to be taken for it; returns what else is found.
    void expectStranger(const char* text, const char* remedy)
    {
        const auto found = findings();
        expect(found.value(u"service"_s), "problem", text);
        EXPECT_THAT(found.value(u"service"_s)[u"remedy"_s].toString().toStdString(), HasSubstr(remedy));
        expect(found.value(u"credentials"_s), "warning", "not judged");
        EXPECT_FALSE(found.contains(u"clock"_s)) << "it is not the service's";
    }

    /// What the doctor finds, by check; "status" is its exit status.
    [[nodiscard]] QHash<QString, QJsonObject> findings(const QStringList& variables = {},
                                                       const QString& url = {})
    {
        const Ran ran = runWith(
            variables, {u"doctor"_s, u"--json"_s, u"--config"_s, files.path(u"till.toml"_s), u"--data-dir"_s,
                        directory, u"--server-url"_s, url.isEmpty() ? server.url().toString() : url});
        QHash<QString, QJsonObject> found;
        const QJsonObject report = QJsonDocument::fromJson(ran.out).object();
        const QJsonArray findings = report[u"findings"_s].toArray();
        for (const auto& finding : findings)
            found.insert(finding[u"check"_s].toString(), finding.toObject());
        EXPECT_EQ(ran.status, report[u"ok"_s].toBool() ? 0 : 1) << ran.err.toStdString();
        all = ran.out;
        return found;
    }

    /// Expects that state, and a remedy unless it is ok.
    static void expect(const QJsonObject& finding, const char* state, const char* text)
    {
        EXPECT_EQ(finding[u"state"_s].toString().toStdString(), state);
        EXPECT_THAT(finding[u"text"_s].toString().toStdString(), HasSubstr(text));
        EXPECT_EQ(finding[u"remedy"_s].toString().isEmpty(), finding[u"state"_s] == u"ok"_s);
    }

    /// Puts back the time at which everything in the queue was put in.
    void makeOlder(std::chrono::milliseconds age) const
    {
        const test_support::RawDatabase database(directory + u"/till.sqlite"_s);
        database.run(u"UPDATE queued SET enqueued = enqueued - ?"_s, {static_cast<qint64>(age.count())});
    }

    const Files files;
    const QString directory = files.path(u"data"_s);
    HttpServer server;
    QByteArray all;
};

} // namespace

TEST_F(TillDoctor, FindsNothingWhereAllIsWell)
{
    answerWell();
    const auto found = findings();
    for (const QString& check :
         {u"configuration"_s, u"ratio"_s, u"name"_s, u"connection"_s, u"tls"_s, u"service"_s,
          u"credentials"_s, u"clock"_s, u"goods"_s, u"log"_s, u"data"_s, u"files"_s, u"disk"_s, u"store"_s,
          u"contents"_s, u"queue"_s, u"plug-in"_s}) {
        EXPECT_EQ(found.value(check)[u"state"_s].toString(), u"ok"_s) << check.toStdString();
        EXPECT_EQ(found.value(check)[u"remedy"_s].toString(), QString());
    }
    EXPECT_THAT(all.toStdString(), HasSubstr(R"("ok":true)"));
    const auto requests = server.requests();
    ASSERT_EQ(requests.size(), 2);
    EXPECT_EQ(requests[0].header("Authorization"), "Basic " + QByteArray("shop:hush").toBase64());
    EXPECT_TRUE(requests[1].header("Authorization").isNull());
    for (const auto& request : requests)
        EXPECT_EQ(request.method + ' ' + request.path,
                  "GET /v2/partner/operation/user/phone/70000000000/user-info");
}

TEST_F(TillDoctor, FindsNothingWrongWithAStandAndItsCredentials)
{
    standtest::StandProcess stand;
    const QString url = QString::fromUtf8(stand.url()) + u'/';
    const auto found = findings({u"KYR_LOYALTY_PASSWORD=secret-of-the-shop"_s}, url);
    expect(found.value(u"service"_s), "ok", "HTTP 200 in the service's form");
    expect(found.value(u"credentials"_s), "ok", "accepted for user 'shop'");
    const auto wrong = findings({u"KYR_LOYALTY_PASSWORD=another"_s}, url);
    expect(wrong.value(u"service"_s), "ok", "HTTP 401 in the service's form");
    expect(wrong.value(u"credentials"_s), "problem", "refuses user 'shop'");
    for (const QString& path : {u"api/"_s, u"v2/"_s}) {
        const auto lost = findings({u"KYR_LOYALTY_PASSWORD=secret-of-the-shop"_s}, url + path);
        expect(lost.value(u"service"_s), "problem", "HTTP 404 in the service's form, but it does not know");
    }
}

TEST_F(TillDoctor, TakesNobodyElseForTheService)
{
    answer(200, "<!DOCTYPE html><title>Wi-Fi</title>");
    expectStranger("HTTP 200 with a web page in it", "the network may ask for a login");
    answer(200, " \n");
    expectStranger("HTTP 200 with nothing in it", "something else listens there");
    for (const QByteArray& body :
         {"{}"_ba, "[]"_ba, "ok"_ba, R"({"data":"x"})"_ba, refusal, R"({"data":{"cards_data":"none"}})"_ba}) {
        answer(200, body);
        expectStranger("HTTP 200, but not in the service's form", "host, port and path");
    }
    for (const QByteArray& body : {"<h1>Not Found</h1>"_ba, "{}"_ba, QByteArray(), noCards,
                                   R"({"data":[{}]})"_ba, R"({"data":[{"message":7}]})"_ba}) {
        answer(404, body);
        expectStranger("HTTP 404, not in the service's form", "check the path in KYRLoyalty:serverUrl");
    }
    answer(404);
    expectStranger("HTTP 404 in the service's form, but it does not know the question",
                   "check the path in KYRLoyalty:serverUrl");
    server.enqueue(HttpAnswer::status(302, {}, {"Location: http://u:p@portal.example/login?mac=1"}));
    expectStranger("HTTP 302: redirected to http://portal.example/login, so", "asks for a login");
    HttpAnswer half = HttpAnswer::status(200, noCards);
    half.cutAfter = half.bytes.size() - 3;
    server.enqueue(half);
    expectStranger("HTTP 200, but not all of an answer", "between till and service");
}

TEST_F(TillDoctor, TakesARefusalInTheServicesWordsForTheServices)
{
    answer(422, R"({"data":[{"message":{"phone":["неверный"]}}]})");
    answer(401);
    const auto found = findings();
    expect(found.value(u"service"_s), "ok", "HTTP 422 in the service's form");
    expect(found.value(u"credentials"_s), "ok", "accepted for user 'shop'");
}

TEST_F(TillDoctor, TellsCredentialsThatWereNeverJudged)
{
    for (int i = 0; i < 2; ++i)
        answer(200, noCards);
    const QJsonObject open = findings().value(u"credentials"_s);
    expect(open, "warning", "never judged: the service answers without user and password, too (HTTP 200)");
    EXPECT_THAT(open[u"remedy"_s].toString().toStdString(), HasSubstr("operator"));
    answer(200, noCards);
    answer(503, {});
    expect(findings().value(u"credentials"_s), "warning", "not judged: without them there was no answer");
}

TEST_F(TillDoctor, TellsCredentialsThatAreMissing)
{
    const QString file = files.path(u"till.toml"_s);
    for (const auto& [content, what] :
         {std::pair(QByteArray(), "user"), std::pair("[KYRLoyalty]\nuser = \"shop\"\n"_ba, "password")}) {
        QFile::setPermissions(files.write(u"till.toml"_s, content), QFile::ReadOwner | QFile::WriteOwner);
        answer(401);
        expect(findings().value(u"credentials"_s), "problem",
               (std::string("no ") + what + " is configured, and one is wanted (HTTP 401)").c_str());
    }
}

TEST_F(TillDoctor, ThePasswordOfTheEnvironmentGoesOverTheFiles)
{
    answerWell();
    static_cast<void>(findings({u"KYR_LOYALTY_PASSWORD=other"_s}));
    EXPECT_EQ(server.requests().first().header("Authorization"),
              "Basic " + QByteArray("shop:other").toBase64());
    EXPECT_THAT(all.toStdString(), Not(HasSubstr("other")));
}

TEST_F(TillDoctor, TellsRefusedCredentialsWithoutNamingThem)
{
    answer(401);
    const auto found = findings();
    expect(found.value(u"service"_s), "ok", "HTTP 401 in the service's form");
    expect(found.value(u"credentials"_s), "problem", "the service refuses user 'shop' (HTTP 401)");
    EXPECT_THAT(all.toStdString(), Not(HasSubstr("hush")));
    answer(401, "<h1>401 Proxy</h1>");
    expect(findings().value(u"service"_s), "problem", "HTTP 401, but not in the service's form");
}

TEST_F(TillDoctor, ComparesTheClocks)
{
    answerWell(-600);
    expect(findings().value(u"clock"_s), "problem", "s ahead of the service's");
    answerWell(20);
    expect(findings().value(u"clock"_s), "warning", "s behind the service's");
    answerWell(server, {});
    expect(findings().value(u"clock"_s), "warning", "the service tells no date");
}

TEST_F(TillDoctor, GoesOnWithoutAService)
{
    server.stop();
    const auto found = findings();
    expect(found.value(u"connection"_s), "problem", "onnect");
    EXPECT_FALSE(found.contains(u"credentials"_s));
    expect(found.value(u"plug-in"_s), "ok", "built for Qt 6.");
    expect(findings({}, u"http://nowhere.invalid/"_s).value(u"name"_s), "problem", "nowhere.invalid");
}

TEST_F(TillDoctor, TellsAServiceInTroubleFromOneThatIsNotIt)
{
    for (const int status : {503, 429, 408}) {
        answer(status);
        const auto found = findings();
        expect(found.value(u"service"_s), "warning", ("HTTP " + std::to_string(status)).c_str());
        expect(found.value(u"credentials"_s), "warning", "not judged");
    }
    server.enqueue(HttpAnswer::none());
    expect(findings().value(u"service"_s), "problem", "Empty reply");
}

TEST_F(TillDoctor, JudgesTheServicesCertificate)
{
    const test_support::Certificate certificate;
    HttpServer secure(certificate);
    const QString url = secure.url().toString();
    expect(findings({}, url).value(u"tls"_s), "problem", "certificate");

    const QString trusted = files.write(u"ca.pem"_s, certificate.pem());
    answerWell(secure, {dateHeader(0)});
    const auto found = findings({u"SSL_CERT_FILE="_s + trusted}, url);
    expect(found.value(u"tls"_s), "warning", "the service's certificate ends on 20");
    expect(found.value(u"credentials"_s), "ok", "accepted");
}

TEST_F(TillDoctor, GoesOnWithABrokenConfiguration)
{
    configure("timeout = \"3\"\n");
    answerWell();
    const auto found = findings();
    expect(found.value(u"configuration"_s), "problem",
           "till.toml:4: KYRLoyalty:timeout: expected a whole number");
    expect(found.value(u"connection"_s), "ok", "answers");
    expect(found.value(u"credentials"_s), "ok", "accepted for user 'shop'");
}

TEST_F(TillDoctor, LeavesTheServiceOutWhoseAddressIsNone)
{
    configure("serverUrl = \"loyalty.example.com/api\"\n");
    const Ran ran = run({u"doctor"_s, u"--config"_s, files.path(u"till.toml"_s), u"--data-dir"_s, directory});
    EXPECT_EQ(ran.status, 1);
    EXPECT_THAT(ran.out.toStdString(),
                AllOf(HasSubstr(":4: KYRLoyalty:serverUrl: expected an address that begins with http://"),
                      HasSubstr("→ write it whole, such as \"https://loyalty.example.com/\""),
                      Not(HasSubstr("no service is configured")), HasSubstr("ok      plug-in")));
}

TEST_F(TillDoctor, SendsNoPasswordToAnAddressThatOthersMayWrite)
{
    configure("serverUrl = \"" + server.url().toEncoded() + "\"\n",
              QFile::ReadOwner | QFile::WriteOwner | QFile::WriteOther);
    const Ran ran = run({u"doctor"_s, u"--config"_s, files.path(u"till.toml"_s), u"--data-dir"_s, directory});
    EXPECT_EQ(ran.status, 1);
    EXPECT_THAT(ran.out.toStdString(), HasSubstr("may be written by others than its owner"));
    EXPECT_TRUE(server.requests().isEmpty());
}

TEST_F(TillDoctor, TellsARatioThatIsNone)
{
    configure("bonusRatio = \"ten\"\n");
    answerWell();
    const auto found = findings();
    expect(found.value(u"configuration"_s), "problem",
           "till.toml:4: KYRLoyalty:bonusRatio: expected two numbers above 0");
    EXPECT_FALSE(found.contains(u"ratio"_s));
}

TEST_F(TillDoctor, TellsFilesThatOthersReadAndFilesSetAside)
{
    QFile::setPermissions(directory, QFile::Permissions(0x7755));
    QFile::setPermissions(files.write(u"data/open-receipt"_s, "x"), QFile::Permissions(0x6644));
    answerWell();
    const auto found = findings();
    expect(found.value(u"data"_s), "problem", "others may enter it");
    expect(found.value(u"files"_s), "problem", "others may read open-receipt");
}

TEST_F(TillDoctor, TellsFilesOfAnotherOwner)
{
    const QString file = files.write(u"data/notes"_s, "x");
    QFile::setPermissions(file, QFile::ReadOwner | QFile::WriteOwner);
    if (chown(QFile::encodeName(file).constData(), 65534, static_cast<gid_t>(-1)) != 0)
        GTEST_SKIP() << "only root can give a file away";
    answerWell();
    const QJsonObject found = findings().value(u"files"_s);
    expect(found, "problem", "of another owner than their folder, who cannot use them: notes");
    EXPECT_THAT(found[u"remedy"_s].toString().toStdString(), HasSubstr("chown --reference="));
}

TEST_F(TillDoctor, LooksAtTheLogFileAndMakesNone)
{
    const auto log = [this](const QByteArray& name) {
        configure("[Till]\nlogFile = \"" + name + "\"\n");
        answerWell();
        return findings().value(u"log"_s);
    };
    expect(log("till.log"), "ok", "till.log, not there yet");
    EXPECT_FALSE(QFile::exists(files.path(u"till.log"_s)));
    expect(log("none/till.log"), "problem", "there is no folder");
    expect(log("data"), "problem", "is no plain file");
    QFile::setPermissions(files.write(u"till.log"_s, "x"), QFile::ReadOwner | QFile::WriteOwner);
    expect(log("till.log"), "ok", "/till.log");
    ASSERT_TRUE(QFile::link(files.path(u"till.log"_s), files.path(u"link.log"_s)));
    expect(log("link.log"), "problem", "is no plain file");
    QFile::setPermissions(files.path(u"till.log"_s), QFile::Permissions(0x6644));
    const QJsonObject open = log("till.log");
    expect(open, "problem", "others than its owner may use it");
    EXPECT_THAT(open[u"remedy"_s].toString().toStdString(), HasSubstr("chmod 600 /"));
}

TEST_F(TillDoctor, LooksAtTheFileOfGoods)
{
    const auto goods = [this](const QByteArray& content) {
        static_cast<void>(files.write(u"goods.csv"_s, content));
        configure("[Till]\ngoods = \"goods.csv\"\n");
        answerWell();
        return findings().value(u"goods"_s);
    };
    const QByteArray heading = "article,barcodes,name,price,unit,button\n";
    expect(goods(heading + "1,,Tea,5,,\n2,,Milk,7,,\n"), "ok", "goods.csv holds 2");
    expect(goods(heading + "1,,Tea,5,,\n2,,Milk,x,,\n3,,,1,,\n"), "problem",
           "goods.csv:3: price: expected digits");
    EXPECT_THAT(all.toStdString(), HasSubstr("(and 1 more)"));
    configure("[Till]\ngoods = \"none.csv\"\n");
    answerWell();
    expect(findings().value(u"goods"_s), "problem", "none.csv: the file of goods cannot be read: ");
}

TEST_F(TillDoctor, ReadsAllOfTheStore)
{
    storage::setDataDirectory(directory);
    for (int i = 0; i < 40; ++i)
        (void)MessageQueue().enqueue(u"kyrloyalty"_s, u"R-1"_s, {}, QString(4000, u'x'));
    storage::setDataDirectory({});
    answerWell();
    expect(findings().value(u"store"_s), "ok", "sound");

    QFile store(directory + u"/till.sqlite"_s);
    ASSERT_TRUE(store.open(QIODevice::ReadWrite) && store.seek(store.size() - 8192));
    ASSERT_EQ(store.write(QByteArray(4096, 'x')), 4096);
    store.close();
    answerWell();
    expect(findings().value(u"store"_s), "problem", "a file is damaged");
}

TEST_F(TillDoctor, TellsOfMessagesThatWaitForTooLongOrAreParked)
{
    storage::setDataDirectory(directory);
    MessageQueue queue;
    storage::setDataDirectory({});
    queue.park(queue.enqueue(u"kyrloyalty"_s, u"R-1"_s, {}, u"text"_s),
               {.code = 422, .error = u"refused"_s, .milliseconds = 0});
    answerWell();
    expect(findings().value(u"queue"_s), "problem",
           "1 parked: refused by the service for good, or not to be sent as they are");
}

TEST_F(TillDoctor, NamesDamagedFilesThatWereSetAside)
{
    const QString name = u"till.sqlite.damaged-20261121T040506Z"_s;
    QFile::setPermissions(files.write(u"data/"_s + name, "x"), QFile::ReadOwner | QFile::WriteOwner);
    answerWell();
    expect(findings().value(u"files"_s), "warning", name.toLatin1().constData());
}

TEST_F(TillDoctor, TellsOfAMessageThatWaitsForLongerThanConfigured)
{
    storage::setDataDirectory(directory);
    MessageQueue queue;
    storage::setDataDirectory({});
    queue.enqueue(u"kyrloyalty"_s, u"R-1"_s, {}, u"text"_s);
    makeOlder(std::chrono::minutes(90));
    answerWell();
    expect(findings().value(u"queue"_s), "problem", "1 waiting, the oldest for 1 h 30 min");
    configure("[Till]\nalarmAfterMinutes = 120\n");
    answerWell();
    expect(findings().value(u"queue"_s), "ok", "1 waiting, none parked");
    configure("[Till]\nalarmAfterMinutes = 0\n");
    expect(findings().value(u"configuration"_s), "problem",
           "Till:alarmAfterMinutes: expected minutes above 0");
}

TEST_F(TillDoctor, TellsOfMessagesForAnotherAddressThanTheConfigured)
{
    const QString here = server.url().toString();
    const auto enqueue = [this](const QString& url) {
        storage::setDataDirectory(directory);
        MessageQueue().enqueue(u"kyrloyalty"_s, {}, {{u"url"_s, url}}, {});
        storage::setDataDirectory({});
        answerWell();
        return findings().value(u"queue"_s);
    };
    expect(enqueue(here + u"v2/partner/operation/receipt"_s), "ok", "1 waiting, none parked");
    const QJsonObject found = enqueue(u"http://u:p@old.example/v2/partner/operation/receipt"_s);
    expect(found, "warning", "1 put in for http://old.example/, which is not the configured service");
    EXPECT_EQ(found[u"remedy"_s].toString(),
              u"if it has moved: till queue readdress --from http://old.example/ --to "_s + here);
}

TEST_F(TillDoctor, TellsAPluginThatIsNone)
{
    const Ran ran =
        run({u"doctor"_s, u"--plugin"_s, QStringLiteral(OTHER_LIBRARY), u"--data-dir"_s, directory});
    EXPECT_EQ(ran.status, 1);
    EXPECT_THAT(ran.out.toStdString(), HasSubstr("problem plug-in"));
    EXPECT_THAT(ran.out.toStdString(), HasSubstr("→ name a fitting one with --plugin"));
}

TEST_F(TillDoctor, ReadsEachReceiptAndMessage)
{
    storage::setDataDirectory(directory);
    DocumentsDao().store(QSharedPointer<Document>::create(SaleReceipt, u"R-1"_s));
    for (int i = 0; i < 2; ++i)
        (void)MessageQueue().enqueue(u"kyrloyalty"_s, u"R-1"_s, {{u"n"_s, i}}, {});
    storage::setDataDirectory({});
    test_support::flipABit(directory + u"/till.sqlite"_s, u"documents"_s, u"content"_s,
                           u"identifier = 'R-1'"_s);
    answerWell();
    expect(findings().value(u"contents"_s), "problem", "receipt R-1 is damaged");
    test_support::flipABit(directory + u"/till.sqlite"_s, u"documents"_s, u"content"_s,
                           u"identifier = 'R-1'"_s); // whole again
    test_support::flipABit(directory + u"/till.sqlite"_s, u"queued"_s, u"message"_s, u"id = 2"_s);
    answerWell();
    const auto found = findings();
    expect(found.value(u"contents"_s), "problem", "message 2 is damaged");
    EXPECT_THAT(found.value(u"contents"_s)[u"remedy"_s].toString().toStdString(),
                HasSubstr("till queue drop 2"));
    expect(found.value(u"store"_s), "ok", "sound");
}

TEST_F(TillDoctor, ReadsTheOpenReceipt)
{
    QFile::setPermissions(files.write(u"data/open-receipt"_s, "no receipt"),
                          QFile::ReadOwner | QFile::WriteOwner);
    answerWell();
    expect(findings().value(u"contents"_s), "problem", "open-receipt");
}

TEST_F(TillDoctor, HasForEachFaultARemedyOfItsOwn)
{
    using enum storage::StorageFault;
    QSet<QString> remedies;
    for (const auto fault : {Full, Denied, Damaged, Newer, Locked, Gone, Strange, Exposed, Failed}) {
        const BasicException failure = storage::storageError(fault, u"f"_s);
        remedies.insert(till::remedyOf(failure));
        EXPECT_THAT(till::administratorsText(failure).toStdString(), ::testing::StartsWith("till: "));
    }
    EXPECT_EQ(remedies.size(), 9);
}

TEST_F(TillDoctor, TellsAConfigurationWhosePasswordOthersMayRead)
{
    configure({}, QFile::ReadOwner | QFile::WriteOwner | QFile::ReadOther);
    answerWell();
    const auto found = findings();
    expect(found.value(u"configuration"_s), "warning",
           "holds the password, and others than its owner may read it");
    EXPECT_THAT(found.value(u"configuration"_s)[u"remedy"_s].toString().toStdString(),
                HasSubstr("chmod 600 /"));
    configure({}, QFile::ReadOwner | QFile::WriteOwner | QFile::WriteGroup);
    expect(findings().value(u"configuration"_s), "problem", "may be written by others than its owner");
}

} // namespace tilltest
