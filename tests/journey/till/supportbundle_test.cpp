#include "host/core/document.h"
#include "host/queue/messagequeue.h"
#include "host/storage/datadirectory.h"
#include "host/storage/documents.h"
#include "host/storage/journal.h"
#include "tests/journey/till/tillprocess.h"
#include "tests/support/hostiletext.h"
#include "tests/support/httpserver.h"
#include "tests/support/rawdatabase.h"

#include <QDirIterator>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QRegularExpression>

#include <gmock/gmock.h>

using namespace Qt::StringLiterals;
using namespace story;
using test_support::HttpAnswer;
using test_support::HttpServer;
using test_support::jsonText;
using ::testing::AnyOf;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;

namespace tilltest {

namespace {

const QByteArray password = "hush-4711-hush";
const QByteArray authorization = ("shop:" + password).toBase64();

/// What must never leave the machine.
const QList<QByteArray> secrets{password,         authorization, "2000000000017", "79001234567",
                                "code\": \"8642", "code=8642",   "8642"};

// One card and one phone, as people write them; the last of each with a letter or two.
const QStringList typedCards{
    u"3141592653589"_s,
    u"3141 5926 5358 9"_s,
    u"31415-92653-589"_s,
    u"3141.5926.5358.9"_s,
    u"(3141) 5926/5358/9"_s,
    u"3141\u00A05926\u202F5358\u20099"_s,
    u"3141\u20115926\u20135358\u22129"_s,
    u"٣١٤١٥٩٢٦٥٣٥٨٩"_s,
    u"３１４１_５９２６_５３５８_９"_s,
    u"KYR-CANARY-31415-92653"_s,
};
const QStringList typedPhones{
    u"+27182845678"_s,
    u"+2 (718) 284-56-78"_s,
    u"2-718-284-56-78"_s,
    u"2.718.284.56.78"_s,
    u"2(718)284/56/78"_s,
    u"2\u00A0718\u202F284\u200956\u00A078"_s,
    u"2\u2011718\u2013284\u221256\u201478"_s,
    u"٢٧١٨٢٨٤٥٦٧٨"_s,
    u"２_７１８_２８４_５６_７８"_s,
    u"KYR-CANARY-27182845678"_s,
};

/// All digits of the text, of whatever script, one after the other. Escapes are none.
std::string digitsOf(const QByteArray& text)
{
    static const QRegularExpression escape(u"\\\\u[0-9a-f]{4}|%[0-9A-F]{2}"_s);
    QString plain = QString::fromUtf8(text);
    plain.remove(escape);
    std::string digits;
    for (const QChar c : std::as_const(plain)) {
        if (c.isDigit())
            digits += static_cast<char>('0' + c.digitValue());
    }
    return digits;
}

/// A till whose every file holds something secret.
class TillSupportBundle : public testing::Test
{
protected:
    TillSupportBundle()
    {
        storage::setDataDirectory(directory);
        MessageQueue().enqueue(
            u"kyrloyalty"_s, u"R-1"_s,
            {{u"method"_s, u"POST"_s},
             {u"url"_s, QUrl(u"http://127.0.0.1:1/v2/card/2000000000017"_s)},
             {u"headers"_s,
              QVariantMap{{u"Authorization"_s, u"Basic "_s + QString::fromLatin1(authorization)}}},
             {u"body"_s, QByteArray(R"({"card":"2000000000017","code":"8642"})")}},
            u"Карта 2000000000017, телефон 79001234567"_s);
        storage::setDataDirectory({});
        static_cast<void>(files.write(u"till.toml"_s, "[KYRLoyalty]\nserverUrl = \"http://u:" + password +
                                                          "@127.0.0.1:1/\"\nuser = \"shop\"\npassword = \"" +
                                                          password + "\"\n"));
        const QString log =
            files.write(u"till.log"_s, "POST {\"card\":\"2000000000017\",\"code\": \"8642\"}\n"
                                       "Authorization: Basic " +
                                           authorization +
                                           "\n"
                                           "code=8642 password: " +
                                           password +
                                           " phone 79001234567\n"
                                           "the last line\n");
        QFile::setPermissions(log, QFile::ReadOwner | QFile::WriteOwner);
    }

    /// A receipt for each way to type a card and a phone, the earning of each left in the queue.
    void play(HttpServer& server, const QString& log) const
    {
        Steps steps;
        for (qsizetype i = 0; i < typedCards.size(); ++i) {
            const QByteArray cardText = jsonText(typedCards[i]);
            const QByteArray phoneText = jsonText(typedPhones[i]);
            const QByteArray whose = R"({"data":{"user_data":{"last_name":"Орлова","mobile":)" + phoneText +
                                     R"(},"accounts_data":[{"number":)" + cardText +
                                     R"(,"avialable":"1"}]}})";
            // Letters in running text are nobody's number.
            const bool isLast = i + 1 == typedCards.size();
            const auto refusal = [isLast](int status, const QByteArray& words) {
                return HttpAnswer::status(status, R"({"data":[{"message":)" +
                                                      (isLast ? QByteArray("\"-\"") : words) + "}]}");
            };
            server.enqueue(refusal(404, phoneText));
            server.enqueue(HttpAnswer::status(200, R"({"data":{"card_data":{"status":3}}})"));
            server.enqueue(HttpAnswer::status(200, whose));
            server.enqueue(HttpAnswer::status(503));
            server.enqueue(refusal(422, cardText));
            steps += openSale("T-" + QByteArray::number(i + 1), {tea(10)}) +
                     identifyByPhone(typedPhones[i]).mayFail() + identifyByCard(typedCards[i]) + pay() +
                     deliver().mayFail();
        }
        const Ran ran =
            runSteps(steps, {u"--data-dir"_s, directory, u"--server-url"_s, server.url().toString(),
                             u"--log-file"_s, log, u"--log-level"_s, u"debug"_s});
        EXPECT_EQ(ran.status, 0) << ran.out.toStdString();
    }

    [[nodiscard]] Ran bundle(const QStringList& more = {}) const
    {
        return run(QStringList{u"support-bundle"_s, u"-o"_s, archive, u"--config"_s,
                               files.path(u"till.toml"_s), u"--log-file"_s, files.path(u"till.log"_s),
                               u"--data-dir"_s, directory} +
                   more);
    }

    /// The content of every file in the archive, by name.
    [[nodiscard]] QHash<QString, QByteArray> unpacked() const
    {
        const QString folder = files.path(u"unpacked"_s);
        QDir().mkpath(folder);
        EXPECT_EQ(QProcess::execute(u"tar"_s, {u"-xzf"_s, archive, u"-C"_s, folder}), 0);
        QHash<QString, QByteArray> contents;
        for (const QFileInfo& info : QDir(folder).entryInfoList(QDir::Files)) {
            QFile file(info.filePath());
            if (file.open(QIODevice::ReadOnly))
                contents.insert(info.fileName(), file.readAll());
        }
        return contents;
    }

    const Files files;
    const QString directory = files.path(u"data"_s);
    const QString archive = files.path(u"case.tar.gz"_s);
};

} // namespace

TEST_F(TillSupportBundle, HoldsNoSecretAndNoWholeNumber)
{
    ASSERT_EQ(bundle().status, 0);
    const auto contents = unpacked();
    for (const QString& name : {u"versions.txt"_s, u"doctor.json"_s, u"configuration.txt"_s, u"queue.json"_s,
                                u"receipts.json"_s, u"log.txt"_s})
        EXPECT_THAT(contents.value(name).toStdString(), Not(IsEmpty())) << name.toStdString();
    for (auto content = contents.begin(); content != contents.end(); ++content) {
        for (const QByteArray& secret : secrets)
            EXPECT_FALSE(content.value().contains(secret))
                << content.key().toStdString() << ": " << secret.toStdString();
    }
}

TEST_F(TillSupportBundle, HoldsWhatASupporterNeeds)
{
    ASSERT_EQ(bundle().status, 0);
    const auto contents = unpacked();
    EXPECT_THAT(contents[u"versions.txt"_s].toStdString(), HasSubstr("\nSQLite 3."));
    EXPECT_THAT(contents[u"configuration.txt"_s].toStdString(), HasSubstr("KYRLoyalty:password is set\n"));
    EXPECT_THAT(contents[u"configuration.txt"_s].toStdString(),
                HasSubstr("KYRLoyalty:timeout = (default)\n"));
    EXPECT_THAT(contents[u"log.txt"_s].toStdString(), HasSubstr("the last line\n"));
    const QJsonObject queue = QJsonDocument::fromJson(contents[u"queue.json"_s]).object();
    EXPECT_EQ(queue[u"waiting"_s].toInt(), 1);
    EXPECT_EQ(queue[u"messages"_s][0][u"text"_s].toString(), u"Карта …0017, телефон …4567"_s);
    EXPECT_FALSE(QJsonDocument::fromJson(contents[u"doctor.json"_s]).object()[u"ok"_s].toBool(true));
}

TEST_F(TillSupportBundle, IsItsOwnersAloneAndReplacesNothing)
{
    const Ran ran = bundle({u"--json"_s});
    EXPECT_EQ(ran.status, 0);
    EXPECT_EQ(QJsonDocument::fromJson(ran.out).object()[u"file"_s].toString(), archive);
    EXPECT_EQ(QFileInfo(archive).permissions() & QFile::Permissions(0x0077), QFile::Permissions());
    const Ran again = bundle();
    EXPECT_EQ(again.status, 2);
    EXPECT_THAT(again.err.toStdString(), HasSubstr("case.tar.gz: cannot be made: File exists"));
}

TEST_F(TillSupportBundle, HoldsNoNumberHoweverItWasTyped)
{
    HttpServer server;
    const QString log = files.path(u"typed.log"_s);
    play(server, log);
    const QStringList here{u"--data-dir"_s, directory};
    QHash<QString, QByteArray> texts{
        {u"queue list"_s, run(QStringList{u"queue"_s, u"list"_s, u"--json"_s} + here).out},
        {u"receipts list"_s, run(QStringList{u"receipts"_s, u"list"_s} + here).out},
    };
    for (qsizetype i = 1; i <= typedCards.size(); ++i) {
        const QString number = QString::number(i + 1); // the first message is the fixture's
        texts[u"queue show "_s + number] = run(QStringList{u"queue"_s, u"show"_s, number} + here).out;
        texts[u"receipts show "_s + number] =
            run(QStringList{u"receipts"_s, u"show"_s, u"T-%1"_s.arg(i), u"--json"_s} + here).out;
    }
    ASSERT_EQ(bundle({u"--log-file"_s, log}).status, 0);
    texts.insert(unpacked());
    for (const QString& name : {u"doctor.json"_s, u"queue.json"_s, u"receipts.json"_s})
        EXPECT_FALSE(QJsonDocument::fromJson(texts[name]).isNull()) << name.toStdString();
    EXPECT_TRUE(texts[u"receipts.json"_s].contains("\"code\": 503")) << "how an exchange ended is no secret";
    EXPECT_THAT(texts[u"exchanges.jsonl"_s].toStdString(),
                HasSubstr(R"("operation":"payment-b2c","receipt":"T-1","status":503,"time":)"));
    EXPECT_THAT(texts[u"log.txt"_s].toStdString(), HasSubstr(" по номеру телефона '…5678'\n"));
    EXPECT_THAT(texts[u"queue show 2"_s].toStdString(), HasSubstr("\"card\": \"…"));
    for (auto text = texts.begin(); text != texts.end(); ++text) {
        EXPECT_THAT(digitsOf(text.value()), Not(AnyOf(HasSubstr("31415926535"), HasSubstr("27182845678"))))
            << text.key().toStdString();
        EXPECT_FALSE(text.value().contains("KYR-CANARY")) << text.key().toStdString();
        EXPECT_FALSE(text.value().contains("Орлова")) << text.key().toStdString();
    }
}

TEST_F(TillSupportBundle, HoldsNoPasswordThatJsonWritesInAnotherWay)
{
    static_cast<void>(files.write(u"till.toml"_s, "[KYRLoyalty]\npassword = 'hu\"sh\\hush'\n"));
    storage::setDataDirectory(directory);
    MessageQueue().enqueue(u"kyrloyalty"_s, u"R-2"_s, {}, u"Пароль hu\"sh\\hush"_s);
    storage::setDataDirectory({});
    ASSERT_EQ(bundle().status, 0);
    const QByteArray queue = unpacked()[u"queue.json"_s];
    EXPECT_THAT(queue.toStdString(), HasSubstr("Пароль ***"));
    EXPECT_FALSE(queue.contains("hush"));
}

TEST_F(TillSupportBundle, IsMadeOfABrokenTillToo)
{
    static_cast<void>(files.write(u"till.toml"_s, "this is not TOML"));
    ASSERT_EQ(bundle().status, 0);
    EXPECT_THAT(unpacked()[u"doctor.json"_s].toStdString(), HasSubstr("is not TOML"));
}

TEST_F(TillSupportBundle, HoldsTheOtherReceiptsWhenOneIsDamaged)
{
    storage::setDataDirectory(directory);
    for (const QString& receipt : {u"R-1"_s, u"R-2"_s}) {
        DocumentsDao().store(QSharedPointer<Document>::create(SaleReceipt, receipt));
        storage::Journal().add(
            {.time = {}, .receipt = receipt, .event = u"closed"_s, .operation = {}, .detail = {}});
    }
    storage::setDataDirectory({});
    test_support::flipABit(directory + u"/till.sqlite"_s, u"documents"_s, u"content"_s,
                           u"identifier = 'R-2'"_s);
    ASSERT_EQ(bundle().status, 0);
    const std::string receipts = unpacked()[u"receipts.json"_s].toStdString();
    EXPECT_THAT(receipts, HasSubstr(R"("state": "damaged")"));
    EXPECT_THAT(receipts, HasSubstr(R"("state": "closed")"));
}

} // namespace tilltest
