#include "tests/unit/network/scene.h"

#include <QJsonObject>

#include <gmock/gmock.h>

using test_support::HttpAnswer;
using test_support::HttpServer;
using namespace Qt::StringLiterals;

namespace {

RestHeaders basic(const QByteArray& credentials)
{
    return {{u"authorization"_s, u"Basic "_s + QString::fromLatin1(credentials.toBase64())}};
}

/// What the client and the observer get of an answer to a request with these headers.
struct Seen
{
    QVariantMap response;
    QByteArray observed;
};

Seen ask(const RestHeaders& headers, int status, const QByteArray& body, const QByteArray& sent = "{}")
{
    HttpServer server;
    server.enqueue(HttpAnswer::status(status, body));
    Seen seen;
    const auto observing =
        RestClient::observe([&seen](const RestExchange& exchange) { seen.observed = exchange.answerBody; });
    RestClient client;
    client.post(server.url(), sent, headers);
    seen.response = client.getResponse().toMap();
    return seen;
}

/// The text that the client gets for this one in an error.
std::string told(const QByteArray& credentials, const QString& text)
{
    const QByteArray body = QJsonDocument(QJsonObject{{u"a"_s, text}}).toJson();
    return ask(basic(credentials), 400, body).response.value(u"a"_s).toString().toStdString();
}

} // namespace

TEST(RestClientEcho, OfTheCredentialsIsTakenOutOfAnErrorsTexts)
{
    const QByteArray credentials = "shop:öffne-dich?";
    const QString encoded = QString::fromLatin1(credentials.toBase64());
    EXPECT_EQ(told(credentials, u"Authorization: Basic %1; Accept: */*"_s.arg(encoded)),
              "Authorization: Basic ***; Accept: */*");
    EXPECT_EQ(told(credentials, u"x%1x"_s.arg(encoded)), "x***x");
    EXPECT_EQ(told(credentials, u"user shop:öffne-dich?, password öffne-dich?"_s),
              "user shop:***, password ***");
    EXPECT_EQ(told(credentials, u"Карта 2000000000017 заблокирована"_s), "Карта 2000000000017 заблокирована");
}

TEST(RestClientEcho, IsFoundHoweverDeepAndHoweverEscaped)
{
    const QByteArray credentials = "shop:sab?cd?ef";
    QByteArray escaped = credentials.toBase64();
    ASSERT_TRUE(escaped.contains('/'));
    escaped.replace("/", "\\/");
    const QByteArray body = R"({"data":[{"message":{"headers":["A: Basic )" + escaped + R"("]}}],"Basic )" +
                            escaped + R"(":1,"n":7})";
    const Seen seen = ask(basic(credentials), 500, body);
    EXPECT_EQ(seen.response, QJsonDocument::fromJson(
                                 R"({"data":[{"message":{"headers":["A: Basic ***"]}}],"Basic ***":1,"n":7})")
                                 .toVariant()
                                 .toMap());
    EXPECT_EQ(seen.observed, R"({"Basic ***":1,"data":[{"message":{"headers":["A: Basic ***"]}}],"n":7})");
}

TEST(RestClientEcho, IsNotSearchedForInsideWordsWhenTheSecretIsShort)
{
    EXPECT_EQ(told("shop:15", u"Чек 1541 от 15.03, пароль 15"_s), "Чек 1541 от ***.03, пароль ***");
    EXPECT_EQ(told("shop:", u"a: b"_s), "a: b") << "no password, no secret";
    EXPECT_EQ(told(":", u"a: b"_s), "a: b");
}

TEST(RestClientEcho, OfATokenIsTakenOutToo)
{
    const Seen seen = ask({{u"Authorization"_s, u"Bearer abcdefgh"_s}}, 401, R"({"a":"Bearer abcdefgh"})");
    EXPECT_EQ(seen.response.value(u"a"_s), QVariant(u"Bearer ***"_s));
}

TEST(RestClientEcho, OfAOneTimeCodeIsTakenOutToo)
{
    const auto told = [](const QByteArray& sent, const QByteArray& text) {
        return ask({}, 422, R"({"a":")" + text + R"("})", sent)
            .response.value(u"a"_s)
            .toString()
            .toStdString();
    };
    const QByteArray code = R"({"approve_id":7,"code":" 4711 "})";
    EXPECT_EQ(told(code, "Код 4711 неверен, осталось 2 из 4711; чек 47110"),
              "Код *** неверен, осталось 2 из ***; чек 47110");
    EXPECT_EQ(told(R"({"code":"2"})", "осталось 2"), "осталось 2") << "any number, no secret";
    EXPECT_EQ(told(R"({"prod_code":"4711","code":47111})", "4711, 47111"), "4711, 47111")
        << "no code of that kind";
}

TEST(RestClientEcho, InASuccessIsHiddenFromOnlookersAndLeftToTheProgram)
{
    const QByteArray body = R"({"a":"shop:secret-of-the-shop"})";
    const Seen seen = ask(basic("shop:secret-of-the-shop"), 200, body);
    EXPECT_EQ(seen.response.value(u"a"_s), QVariant(u"shop:secret-of-the-shop"_s));
    EXPECT_EQ(seen.observed, R"({"a":"shop:***"})");
}

TEST(RestClientEcho, LeavesEveryOtherBodyByteForByte)
{
    const QByteArray body = " {\"a\" : \"b\\/c\"}\n";
    EXPECT_EQ(ask(basic("shop:secret-of-the-shop"), 400, body).observed, body);
    EXPECT_EQ(ask({}, 400, body).observed, body);
}
