#include "tests/unit/network/scene.h"

#include <QRegularExpression>

#include <gmock/gmock.h>

#include <mutex>

using test_support::HttpAnswer;
using test_support::HttpServer;
using testing::SizeIs;
using namespace Qt::StringLiterals;

namespace {

struct Lines
{
    std::mutex mutex;
    QStringList lines;
};

Lines& logged()
{
    static Lines lines;
    return lines;
}

/// Keeps what goes to the category "network" while it lives.
class LogKeeper
{
public:
    LogKeeper()
        : m_before(qInstallMessageHandler(keep))
    {}
    LogKeeper(const LogKeeper&) = delete;
    LogKeeper& operator=(const LogKeeper&) = delete;
    ~LogKeeper() { qInstallMessageHandler(m_before); }

    static QStringList take()
    {
        const std::lock_guard lock(logged().mutex);
        return std::exchange(logged().lines, {});
    }

private:
    static void keep(QtMsgType type, const QMessageLogContext& context, const QString& message)
    {
        if (QByteArrayView(context.category) != "network")
            return;
        const std::lock_guard lock(logged().mutex);
        logged().lines.append((type == QtWarningMsg ? u"warning: "_s : QString()) + message);
    }

    QtMessageHandler m_before;
};

/// The line with the port and the milliseconds, which differ from run to run, as letters.
QString steady(QString line)
{
    return line.replace(QRegularExpression(u":\\d+/"_s), u":P/"_s)
        .replace(QRegularExpression(u"\\d+ ms"_s), u"T ms"_s);
}

} // namespace

TEST(RestClientLog, IsOneLineWithoutCredentialsQueryHeadersBodiesAndWholeNumbers)
{
    const LogKeeper keeper;
    HttpServer server;
    server.enqueue(HttpAnswer::status(200, R"({"sms":"4711"})"));
    QUrl url = server.url(u"/cards/7000000000000017?phone=79991234567#part"_s);
    url.setUserInfo(u"till:secret"_s);
    RestClient client;
    client.post(url, R"({"code":"4711"})", {{u"Authorization"_s, u"Bearer secret"_s}});
    const QStringList lines = LogKeeper::take();
    ASSERT_THAT(lines, SizeIs(1));
    EXPECT_EQ(steady(lines[0]), u"POST http://127.0.0.1:P/cards/…0017: 200, T ms, 14 bytes"_s);
}

TEST(RestClientLog, SeesThroughPercentEncodedDigits)
{
    const LogKeeper keeper;
    HttpServer server;
    get(server.url(u"/%37%30%30%30%30%30%30%30%31%37"_s));
    const QStringList lines = LogKeeper::take();
    ASSERT_THAT(lines, SizeIs(1));
    EXPECT_FALSE(lines[0].contains(u"%37"_s)) << lines[0].toStdString();
    EXPECT_TRUE(lines[0].contains(u"/…0017"_s)) << lines[0].toStdString();
}

TEST(RestClientLog, KeepsAUrlWithALineBreakOnOneLine)
{
    const LogKeeper keeper;
    HttpServer server;
    get(server.url(u"/a%0Ab %1"_s));
    const QStringList lines = LogKeeper::take();
    ASSERT_THAT(lines, SizeIs(1));
    EXPECT_FALSE(lines[0].contains(u'\n'));
}

TEST(RestClientLog, NamesAFailure)
{
    const LogKeeper keeper;
    HttpServer server;
    server.stop();
    get(server.url());
    get(QUrl(u"ftp://example.test/"_s));
    const QStringList lines = LogKeeper::take();
    ASSERT_THAT(lines, SizeIs(2));
    EXPECT_EQ(steady(lines[0]), u"GET http://127.0.0.1:P/: Connect, T ms, 0 bytes"_s);
    EXPECT_EQ(steady(lines[1]), u"GET ftp://example.test/: BadUrl, T ms, 0 bytes"_s);
}

TEST(RestClientLog, GivesTheStatusOfAnErrorAnswer)
{
    const LogKeeper keeper;
    HttpServer server;
    server.enqueue(HttpAnswer::status(502, "<html>"));
    get(server.url());
    const QStringList lines = LogKeeper::take();
    ASSERT_THAT(lines, SizeIs(1));
    EXPECT_EQ(steady(lines[0]), u"GET http://127.0.0.1:P/: 502, T ms, 6 bytes"_s);
}

TEST(RestClientLog, WarnsOfACertificateThatIsNotTrusted)
{
    const LogKeeper keeper;
    const HttpServer server{test_support::Certificate()};
    get(server.url());
    const QStringList lines = LogKeeper::take();
    ASSERT_THAT(lines, SizeIs(1));
    EXPECT_EQ(steady(lines[0]),
              u"warning: GET https://127.0.0.1:P/: Tls, T ms, 0 bytes; the service's certificate is not "
              "trusted, or TLS failed"_s);
}
