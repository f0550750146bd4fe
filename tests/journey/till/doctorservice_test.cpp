#include "tests/journey/till/doctor.h"
#include "tests/stand/standprocess.h"

using namespace Qt::StringLiterals;
using test_support::HttpAnswer;
using test_support::HttpServer;
using ::testing::AllOf;
using ::testing::HasSubstr;
using ::testing::Not;

// What the doctor says of the way to the service, and of who answers there.

namespace tilltest {

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

} // namespace tilltest
