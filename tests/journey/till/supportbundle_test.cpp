#include "host/core/document.h"
#include "host/core/storage.h"
#include "host/network/messagequeue.h"
#include "host/utils/datadirectory.h"
#include "host/utils/journal.h"
#include "tests/journey/till/damage.h"
#include "tests/journey/till/tillprocess.h"

#include <QDirIterator>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>

#include <gmock/gmock.h>

using namespace Qt::StringLiterals;
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

/// A till whose every file holds something secret.
class TillSupportBundle : public testing::Test
{
protected:
    TillSupportBundle()
    {
        utils::setDataDirectory(directory);
        MessageQueue().enqueue(
            u"kyrloyalty"_s, u"R-1"_s,
            {{u"method"_s, u"POST"_s},
             {u"url"_s, QUrl(u"http://127.0.0.1:1/v2/card/2000000000017"_s)},
             {u"headers"_s,
              QVariantMap{{u"Authorization"_s, u"Basic "_s + QString::fromLatin1(authorization)}}},
             {u"body"_s, QByteArray(R"({"card":"2000000000017","code":"8642"})")}},
            u"Карта 2000000000017, телефон 79001234567"_s);
        utils::setDataDirectory({});
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

TEST_F(TillSupportBundle, IsMadeOfABrokenTillToo)
{
    static_cast<void>(files.write(u"till.toml"_s, "this is not TOML"));
    ASSERT_EQ(bundle().status, 0);
    EXPECT_THAT(unpacked()[u"doctor.json"_s].toStdString(), HasSubstr("is not TOML"));
}

TEST_F(TillSupportBundle, HoldsTheOtherReceiptsWhenOneIsDamaged)
{
    utils::setDataDirectory(directory);
    for (const QString& receipt : {u"R-1"_s, u"R-2"_s}) {
        DocumentsDao().store(QSharedPointer<Document>::create(SaleReceipt, receipt));
        utils::Journal().add(
            {.time = {}, .receipt = receipt, .event = u"closed"_s, .operation = {}, .detail = {}});
    }
    utils::setDataDirectory({});
    flipABit(directory, u"documents"_s, u"content"_s, u"identifier = 'R-2'"_s);
    ASSERT_EQ(bundle().status, 0);
    const std::string receipts = unpacked()[u"receipts.json"_s].toStdString();
    EXPECT_THAT(receipts, HasSubstr(R"("state": "damaged")"));
    EXPECT_THAT(receipts, HasSubstr(R"("state": "closed")"));
}

} // namespace tilltest
