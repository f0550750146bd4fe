// How the service refuses: credentials, every shape of the error envelope, nonsense on the wire.

#include "tests/stand/standfixture.h"

#include <QTcpSocket>
#include <QUrl>

#include <memory>
#include <vector>

using namespace Qt::StringLiterals;
using standtest::json;
using standtest::Login;
using standtest::Reply;

namespace {

class StandFailures : public standtest::StandTest
{
protected:
    Reply withAuthorization(const QByteArray& value)
    {
        return call(m_cardInfo, {.url = {}, .headers = {"Authorization: " + value}});
    }

    [[nodiscard]] std::unique_ptr<QTcpSocket> connection() const
    {
        const QUrl url(QString::fromLatin1(root()));
        auto socket = std::make_unique<QTcpSocket>();
        socket->connectToHost(url.host(), static_cast<quint16>(url.port()));
        EXPECT_TRUE(socket->waitForConnected());
        return socket;
    }

    /// Sends a request whose answer has a body without line breaks; returns the answer's status line.
    static QByteArray statusLine(QTcpSocket& socket, const QByteArray& request)
    {
        socket.write(request);
        QByteArray answer;
        while (!answer.contains("\r\n\r\n{")) {
            if (!socket.waitForReadyRead(20'000))
                return {};
            answer += socket.readAll();
        }
        return answer.first(answer.indexOf("\r\n"));
    }

    const QByteArray m_cardInfo = "/v2/partner/card/2000000000017/card-info";
    const QByteArray m_authorization =
        "Authorization: Basic " + QByteArray("shop:secret-of-the-shop").toBase64() + "\r\n";
};

TEST_F(StandFailures, WithoutCredentialsTheServiceAsksForThem)
{
    const auto reply = call(m_cardInfo);
    EXPECT_EQ(reply.status, 401);
    EXPECT_EQ(reply.headers.value("www-authenticate"), R"(Basic realm="stand")");
    EXPECT_EQ(reply.headers.value("content-type"), "application/json");
    EXPECT_EQ(reply.messages(), json(u"['Требуется авторизация']"_s).toArray());
}

TEST_F(StandFailures, EveryPathOfTheServiceIsGuardedEvenAnUnknownOne)
{
    EXPECT_EQ(call("/v2/").status, 401);
    EXPECT_EQ(call("/v2/partner/nowhere").status, 401);
    EXPECT_EQ(call(m_cardInfo, {.url = {}, .method = "DELETE"}).status, 401);
}

TEST_F(StandFailures, WrongCredentialsAreRefused)
{
    EXPECT_EQ(call(m_cardInfo, {.url = {}, .login = Login{.user = "shop", .password = "secret"}}).status,
              401);
    EXPECT_EQ(call(m_cardInfo, {.url = {}, .login = Login{.user = "shop", .password = ""}}).status, 401);
    EXPECT_EQ(call(m_cardInfo, {.url = {}, .login = Login{.user = "Shop"}}).status, 401);
    EXPECT_EQ(call(m_cardInfo, {.url = {}, .login = Login()}).status, 200);
}

TEST_F(StandFailures, TheAuthorizationHeaderIsReadStrictlyButItsSchemeInAnyCase)
{
    const auto token = QByteArray("shop:secret-of-the-shop").toBase64();
    EXPECT_EQ(withAuthorization("Basic " + token).status, 200);
    EXPECT_EQ(withAuthorization("bASIC " + token).status, 200);
    EXPECT_EQ(withAuthorization("Bearer " + token).status, 401);
    EXPECT_EQ(withAuthorization(token).status, 401);
    EXPECT_EQ(withAuthorization("Basic").status, 401);
    EXPECT_EQ(withAuthorization("Basic *" + token).status, 401);
    EXPECT_EQ(withAuthorization("Basic " + QByteArray("shop").toBase64()).status, 401);
}

TEST_F(StandFailures, AnUnknownCardIsNotFound)
{
    for (const auto* path : {"card/2999999999999/card-info", "user-account/card/2999999999999",
                             "operation/user/card/2999999999999/user-info"}) {
        const auto reply = get(path);
        EXPECT_EQ(reply.status, 404) << path;
        EXPECT_EQ(reply.json(), json(u"{'data':[{'message':'Карта не найдена'}]}"_s)) << path;
    }
}

TEST_F(StandFailures, ACardNumberOfOtherThanDigitsIsRefusedWithAMessageThatIsAnObject)
{
    for (const auto* number :
         {"20000000O0017", "", "-1", "2000000000017%20", "20%2F00", "%00", "%D9%A1", "%zz"}) {
        for (const auto& path :
             {"card/%1/card-info"_ba, "user-account/card/%1"_ba, "operation/user/card/%1/user-info"_ba}) {
            const auto reply = get(QByteArray(path).replace("%1", number));
            EXPECT_EQ(reply.status, 422) << path.constData() << " of " << number;
            ASSERT_EQ(reply.messages().size(), 1) << path.constData() << " of " << number;
            const auto message = reply.messages().at(0);
            EXPECT_EQ(message[u"card"].toArray().size(), 2);
            EXPECT_TRUE(message[u"card"][0].isString());
            EXPECT_FALSE(message[u"branch"].toString().isEmpty());
        }
    }
}

TEST_F(StandFailures, APhoneOfTheWrongFormIsRefusedWithTwoErrors)
{
    for (const auto* phone :
         {"790012345", "7900123456789012", "%2B79001234567", "+79001234567", "7900123456x", ""}) {
        const auto reply = get(QByteArray("operation/user/phone/") + phone + "/user-info");
        EXPECT_EQ(reply.status, 422) << phone;
        ASSERT_EQ(reply.messages().size(), 2) << phone;
        EXPECT_TRUE(reply.messages().at(0).isString());
        EXPECT_TRUE(reply.messages().at(1).isString());
    }
}

TEST_F(StandFailures, PhonesOfTenToFifteenDigitsAreOfTheRightForm)
{
    EXPECT_EQ(get("operation/user/phone/9001234567/user-info").status, 200);
    EXPECT_EQ(get("operation/user/phone/790012345678901/user-info").status, 200);
}

TEST_F(StandFailures, AnUnknownPathIsNotFound)
{
    for (const auto* path :
         {"/v2/", "/v2/partner/card/2000000000017", "/v2/partner/card/2000000000017/card-info/",
          "/v2/partner/card/2000000000017/card-info/x", "/v2", "/v1/partner", "/stand/nowhere",
          "/stand/exchanges/1"}) {
        const auto reply = call(path, {.url = {}, .login = Login()});
        EXPECT_EQ(reply.status, 404) << path;
        EXPECT_EQ(reply.messages(), json(u"['Адрес не найден']"_s).toArray()) << path;
    }
}

TEST_F(StandFailures, AKnownPathRefusesOtherMethods)
{
    for (const auto* method : {"POST", "PUT", "DELETE", "PATCH", "OPTIONS"}) {
        const auto reply = call(m_cardInfo, {.url = {}, .method = method, .login = Login()});
        EXPECT_EQ(reply.status, 405) << method;
        EXPECT_EQ(reply.headers.value("allow"), "GET") << method;
        EXPECT_EQ(reply.messages(), QJsonArray{u"Метод %1 не поддерживается"_s.arg(QLatin1String(method))});
    }
    EXPECT_EQ(call("/stand/cards", {.url = {}, .method = "POST"}).status, 405);
    EXPECT_EQ(call("/stand/exchanges", {.url = {}, .method = "DELETE"}).status, 405);
}

TEST_F(StandFailures, AnAnswerToHeadHasNoBody)
{
    const auto reply = call(m_cardInfo, {.url = {}, .method = "HEAD", .login = Login()});
    EXPECT_EQ(reply.status, 405);
    EXPECT_EQ(reply.headers.value("content-length"), "0");
}

TEST_F(StandFailures, NonsenseOnTheWireDoesNotEndTheStand)
{
    std::vector<std::unique_ptr<QTcpSocket>> connections;
    for (const auto& bytes :
         {"\r\n\r\n"_ba, "no http at all\r\n\r\n"_ba, "GET\r\n\r\n"_ba,
          "GET /v2/%zz%00%ff HTTP/1.1\r\n\r\n"_ba, "GET http:// HTTP/1.1\r\n\r\n"_ba,
          "GET / HTTP/1.1\r\nContent-Length: -5\r\n\r\n"_ba,
          "POST / HTTP/1.1\r\nTransfer-Encoding: chunked\r\n\r\nzz\r\n"_ba,
          "POST / HTTP/1.1\r\nContent-Length: 100\r\n\r\nno more"_ba, "\xff\xfe\x00\x01"_ba}) {
        connections.push_back(connection());
        connections.back()->write(bytes);
        EXPECT_TRUE(connections.back()->waitForBytesWritten());
        EXPECT_EQ(call("/stand/cards").status, 200) << "after " << bytes.toPercentEncoding().constData();
    }
    connections.clear();
    EXPECT_EQ(call("/stand/cards").status, 200) << "after they hung up";
    EXPECT_THAT(endStatus(), ::testing::Optional(0));
}

TEST_F(StandFailures, AnUnknownMethodIsRefusedLikeAWrongOne)
{
    EXPECT_EQ(statusLine(*connection(), "BREW " + m_cardInfo + " HTTP/1.1\r\n" + m_authorization + "\r\n"),
              "HTTP/1.1 405 Method Not Allowed");
}

TEST_F(StandFailures, CredentialsHoldForOneRequestNotForItsConnection)
{
    const auto socket = connection();
    const auto request = "GET " + m_cardInfo + " HTTP/1.1\r\n";
    EXPECT_EQ(statusLine(*socket, request + m_authorization + "\r\n"), "HTTP/1.1 200 OK");
    EXPECT_EQ(statusLine(*socket, request + "\r\n"), "HTTP/1.1 401 Unauthorized");
    EXPECT_EQ(statusLine(*socket, request + m_authorization + "\r\n"), "HTTP/1.1 200 OK");
}

} // namespace
