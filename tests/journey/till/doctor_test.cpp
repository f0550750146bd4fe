#include "host/core/document.h"
#include "host/queue/messagequeue.h"
#include "host/storage/datadirectory.h"
#include "host/storage/documents.h"
#include "host/storage/storageerror.h"
#include "host/storage/store.h"
#include "tests/journey/till/tillprocess.h"
#include "tests/support/httpserver.h"
#include "tests/support/rawdatabase.h"
#include "till/admin/tool.h"

#include <QDateTime>
#include <QDir>
#include <QJsonArray>
#include <QJsonDocument>
#include <QLocale>

#include <gmock/gmock.h>

using namespace Qt::StringLiterals;
using test_support::HttpAnswer;
using test_support::HttpServer;
using ::testing::HasSubstr;
using ::testing::Not;

namespace tilltest {

namespace {

QByteArray dateHeader(int secondsAhead)
{
    const QDateTime time = QDateTime::currentDateTimeUtc().addSecs(secondsAhead);
    return "Date: " + QLocale::c().toString(time, u"ddd, dd MMM yyyy HH:mm:ss"_s).toUtf8() + " GMT";
}

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

    /// The service's next answer.
    void answer(int status, int secondsAhead = 0)
    {
        server.enqueue(HttpAnswer::status(status, "{}", {dateHeader(secondsAhead)}));
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
    answer(404);
    const auto found = findings();
    for (const QString& check : {u"configuration"_s, u"ratio"_s, u"name"_s, u"connection"_s, u"tls"_s,
                                 u"service"_s, u"credentials"_s, u"clock"_s, u"data"_s, u"files"_s, u"disk"_s,
                                 u"store"_s, u"contents"_s, u"queue"_s, u"plug-in"_s}) {
        EXPECT_EQ(found.value(check)[u"state"_s].toString(), u"ok"_s) << check.toStdString();
        EXPECT_EQ(found.value(check)[u"remedy"_s].toString(), QString());
    }
    EXPECT_THAT(all.toStdString(), HasSubstr(R"("ok":true)"));
    ASSERT_EQ(server.requests().size(), 1);
    EXPECT_EQ(server.requests().first().header("Authorization"),
              "Basic " + QByteArray("shop:hush").toBase64());
}

TEST_F(TillDoctor, ThePasswordOfTheEnvironmentGoesOverTheFiles)
{
    answer(404);
    static_cast<void>(findings({u"KYR_LOYALTY_PASSWORD=other"_s}));
    EXPECT_EQ(server.requests().first().header("Authorization"),
              "Basic " + QByteArray("shop:other").toBase64());
    EXPECT_THAT(all.toStdString(), Not(HasSubstr("other")));
}

TEST_F(TillDoctor, TellsRefusedCredentialsWithoutNamingThem)
{
    answer(401);
    expect(findings().value(u"credentials"_s), "problem", "the service refuses user 'shop' (HTTP 401)");
    EXPECT_THAT(all.toStdString(), Not(HasSubstr("hush")));
}

TEST_F(TillDoctor, ComparesTheClocks)
{
    answer(404, -600);
    expect(findings().value(u"clock"_s), "problem", "s ahead of the service's");
    answer(404, 20);
    expect(findings().value(u"clock"_s), "warning", "s behind the service's");
    server.enqueue(HttpAnswer::status(404, "{}"));
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
    answer(503);
    expect(findings().value(u"service"_s), "warning", "HTTP 503");
    answer(302);
    expect(findings().value(u"service"_s), "problem", "redirected");
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
    secure.enqueue(HttpAnswer::status(404, "{}", {dateHeader(0)}));
    const auto found = findings({u"SSL_CERT_FILE="_s + trusted}, url);
    expect(found.value(u"tls"_s), "warning", "the service's certificate ends on 20");
    expect(found.value(u"credentials"_s), "ok", "accepted");
}

TEST_F(TillDoctor, GoesOnWithABrokenConfiguration)
{
    configure("timeout = \"3\"\n");
    answer(404);
    const auto found = findings();
    expect(found.value(u"configuration"_s), "problem", "KYRLoyalty:timeout: expected a whole number");
    expect(found.value(u"connection"_s), "ok", "answers");
}

TEST_F(TillDoctor, TellsARatioThatIsNone)
{
    configure("bonusRatio = \"ten\"\n");
    answer(404);
    const auto found = findings();
    expect(found.value(u"ratio"_s), "problem", "'ten' is no ratio");
    expect(found.value(u"plug-in"_s), "problem", "init() refused");
}

TEST_F(TillDoctor, TellsFilesThatOthersReadAndFilesSetAside)
{
    QFile::setPermissions(directory, QFile::Permissions(0x7755));
    QFile::setPermissions(files.write(u"data/open-receipt.damaged-20260131T235959Z"_s, "x"),
                          QFile::Permissions(0x6644));
    answer(404);
    const auto found = findings();
    expect(found.value(u"data"_s), "problem", "others may enter it");
    expect(found.value(u"files"_s), "problem", "others may read open-receipt.damaged-20260131T235959Z");
}

TEST_F(TillDoctor, ReadsAllOfTheStore)
{
    storage::setDataDirectory(directory);
    for (int i = 0; i < 40; ++i)
        (void)MessageQueue().enqueue(u"kyrloyalty"_s, u"R-1"_s, {}, QString(4000, u'x'));
    storage::setDataDirectory({});
    answer(404);
    expect(findings().value(u"store"_s), "ok", "sound");

    QFile store(directory + u"/till.sqlite"_s);
    ASSERT_TRUE(store.open(QIODevice::ReadWrite) && store.seek(store.size() - 8192));
    ASSERT_EQ(store.write(QByteArray(4096, 'x')), 4096);
    store.close();
    answer(404);
    expect(findings().value(u"store"_s), "problem", "a file is damaged");
}

TEST_F(TillDoctor, TellsOfMessagesThatWaitForTooLongOrAreParked)
{
    storage::setDataDirectory(directory);
    MessageQueue queue;
    storage::setDataDirectory({});
    queue.park(queue.enqueue(u"kyrloyalty"_s, u"R-1"_s, {}, u"text"_s),
               {.code = 422, .error = u"refused"_s, .milliseconds = 0});
    answer(404);
    expect(findings().value(u"queue"_s), "problem",
           "1 parked: refused by the service for good, or not to be sent as they are");
}

TEST_F(TillDoctor, NamesDamagedFilesThatWereSetAside)
{
    const QString name = u"till.sqlite.damaged-20261121T040506Z"_s;
    QFile::setPermissions(files.write(u"data/"_s + name, "x"), QFile::ReadOwner | QFile::WriteOwner);
    answer(404);
    expect(findings().value(u"files"_s), "warning", name.toLatin1().constData());
}

TEST_F(TillDoctor, TellsOfAMessageThatWaitsForLongerThanConfigured)
{
    storage::setDataDirectory(directory);
    MessageQueue queue;
    storage::setDataDirectory({});
    queue.enqueue(u"kyrloyalty"_s, u"R-1"_s, {}, u"text"_s);
    makeOlder(std::chrono::minutes(90));
    answer(404);
    expect(findings().value(u"queue"_s), "problem", "1 waiting, the oldest for 1 h 30 min");
    configure("[Till]\nalarmAfterMinutes = 120\n");
    answer(404);
    expect(findings().value(u"queue"_s), "ok", "1 waiting, none parked");
    configure("[Till]\nalarmAfterMinutes = 0\n");
    expect(findings().value(u"configuration"_s), "problem",
           "Till:alarmAfterMinutes: expected minutes above 0");
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
    answer(404);
    expect(findings().value(u"contents"_s), "problem", "receipt R-1 is damaged");
    test_support::flipABit(directory + u"/till.sqlite"_s, u"documents"_s, u"content"_s,
                           u"identifier = 'R-1'"_s); // whole again
    test_support::flipABit(directory + u"/till.sqlite"_s, u"queued"_s, u"message"_s, u"id = 2"_s);
    answer(404);
    const auto found = findings();
    expect(found.value(u"contents"_s), "problem", "message 2 is damaged");
    EXPECT_THAT(found.value(u"contents"_s)[u"remedy"_s].toString().toStdString(),
                HasSubstr("till queue drop 2"));
    expect(found.value(u"store"_s), "ok", "sound");
}

TEST_F(TillDoctor, ReadsTheOpenReceipt)
{
    storage::setDataDirectory(directory);
    static_cast<void>(storage::store());
    test_support::putOpenReceipt(directory, "no receipt");
    answer(404);
    const auto found = findings();
    expect(found.value(u"contents"_s), "problem", "till.sqlite: open_receipt");
    expect(found.value(u"store"_s), "ok", "sound");
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
    answer(404);
    const auto found = findings();
    expect(found.value(u"configuration"_s), "warning",
           "holds the password, and others than its owner may read it");
    EXPECT_THAT(found.value(u"configuration"_s)[u"remedy"_s].toString().toStdString(),
                HasSubstr("chmod 600 /"));
    configure({}, QFile::ReadOwner | QFile::WriteOwner | QFile::WriteGroup);
    expect(findings().value(u"configuration"_s), "problem", "may be written by others than its owner");
}

} // namespace tilltest
