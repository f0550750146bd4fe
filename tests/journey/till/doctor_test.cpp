#include "tests/journey/till/doctor.h"

#include "host/core/document.h"
#include "host/queue/messagequeue.h"
#include "host/storage/datadirectory.h"
#include "host/storage/documents.h"
#include "host/storage/storageerror.h"
#include "host/storage/store.h"
#include "tests/support/leftout.h"
#include "tests/support/rawdatabase.h"
#include "till/admin/tool.h"

#include <unistd.h>

using namespace Qt::StringLiterals;
using ::testing::AllOf;
using ::testing::HasSubstr;
using ::testing::Not;

namespace tilltest {

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
    QFile::setPermissions(files.write(u"data/open-receipt.damaged-20260131T235959Z"_s, "x"),
                          QFile::Permissions(0x6644));
    answerWell();
    const auto found = findings();
    expect(found.value(u"data"_s), "problem", "others may enter it");
    expect(found.value(u"files"_s), "problem", "others may read open-receipt.damaged-20260131T235959Z");
}

TEST_F(TillDoctor, TellsFilesOfAnotherOwner)
{
    const QString file = files.write(u"data/notes"_s, "x");
    QFile::setPermissions(file, QFile::ReadOwner | QFile::WriteOwner);
    if (chown(QFile::encodeName(file).constData(), 65534, static_cast<gid_t>(-1)) != 0)
        LEAVE_OUT("only root can give a file away");
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
    storage::setDataDirectory(directory);
    static_cast<void>(storage::store());
    test_support::putOpenReceipt(directory, "no receipt");
    answerWell();
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
