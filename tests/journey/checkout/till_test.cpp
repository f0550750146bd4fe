#include "host/core/session.h"
#include "host/network/restclient.h"
#include "host/queue/dbqueuebroker.h"
#include "host/shop/shopdocuments.h"
#include "host/storage/datadirectory.h"
#include "host/storage/documents.h"
#include "host/utils/basicexception.h"
#include "tests/support/logcapture.h"
#include "tests/support/rawdatabase.h"
#include "till/checkout/till.h"
#include "till/cli/usageerror.h"
#include "till/setup/settings.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <gmock/gmock.h>

using namespace Qt::StringLiterals;
using testing::HasSubstr;

namespace checkouttest {

namespace {

/// Closes whatever is asked.
class Nobody : public DialogFrontend
{
public:
    int chooseFromList(const ChoiceRequest& /*request*/) override { return -1; }
    core::BasicDialog::Result inputText(const TextInputRequest& /*request*/) override
    {
        return core::BasicDialog::Result::cancelled();
    }
};

} // namespace

/// A till that comes and goes on one data directory.
class WholeTill : public testing::Test
{
protected:
    void start(const Config& config = till::loadSettings({}))
    {
        till.reset();
        till = std::make_unique<till::Till>(parts(), config, cashier);
    }
    [[nodiscard]] till::Parts parts() const
    {
        return {QStringLiteral(PLUGIN_FILE), QStringLiteral(STAND_PROGRAM), directory.path()};
    }
    static void expectDone(const till::Result& result)
    {
        ASSERT_TRUE(result.ok) << result.error.toStdString();
    }
    void open(const QString& identifier) const
    {
        expectDone(till->checkout().openSale(
            identifier, {{.articul = u"1"_s, .name = u"Чай"_s, .price = 200, .quantity = 2}}));
    }
    /// Its receipt is a message for the queue.
    void sell(const QString& identifier) const
    {
        open(identifier);
        expectDone(till->checkout().pay());
    }
    /// Refused by the stand, which does not know the path.
    void enqueueWhatIsRefused(const QString& group) const
    {
        till->queue().enqueue(u"q"_s, group,
                              {{u"method"_s, u"POST"_s},
                               {u"url"_s, till->serviceUrl() + u"nowhere"_s},
                               {u"body"_s, QByteArray("{}")},
                               {u"timeout"_s, 10}},
                              {});
    }

    QTemporaryDir directory;
    Nobody cashier;
    std::unique_ptr<till::Till> till;
};

TEST_F(WholeTill, KeepsEverythingInItsDirectoryAndLetsGoOfItAtItsEnd)
{
    start();
    EXPECT_TRUE(till->ownsService());
    EXPECT_TRUE(till->keepsData());
    EXPECT_EQ(till->deliveredMessages(), 0);
    sell(u"R"_s);
    expectDone(till->deliver());
    EXPECT_THAT(QDir(directory.path()).entryList(QDir::Files),
                testing::IsSupersetOf({u"stand.sqlite"_s, u"stand.log"_s, u"till.lock"_s, u"till.sqlite"_s}));
    EXPECT_THAT(till->serviceUrl().toStdString(), testing::MatchesRegex("http://127.0.0.1:[0-9]+/"));
    till.reset();
    EXPECT_EQ(Singleton<DocumentsDao>::instance, nullptr) << "which would hold the store open";
    EXPECT_EQ(Singleton<DBQueueBroker>::instance, nullptr) << "the same";
    EXPECT_EQ(Singleton<Session>::instance, nullptr);
    EXPECT_THROW(storage::dataFile(u"x"_s), BasicException) << "no folder is named any more";
}

TEST_F(WholeTill, WithoutADirectoryKeepsNothing)
{
    const till::Till passing({QStringLiteral(PLUGIN_FILE), QStringLiteral(STAND_PROGRAM), {}},
                             till::loadSettings({}), cashier);
    EXPECT_FALSE(passing.keepsData());
    EXPECT_FALSE(QFile::exists(directory.filePath(u"till.sqlite"_s)));
}

TEST_F(WholeTill, SharesItsDirectoryWithNoOther)
{
    start();
    const till::Parts same = parts();
    const Config config = till::loadSettings({});
    const QByteArray expected = "another till works on this data directory; end it, or give this one a "
                                "--data-dir of its own (";
    try {
        const till::Till other(same, config, cashier);
        FAIL() << "it started";
    } catch (const till::UsageError& error) {
        EXPECT_THAT(error.what(), testing::StartsWith(expected.toStdString()));
    }
}

TEST_F(WholeTill, SaysInTheStoresOwnWordsThatItsDirectoryCannotBeUsed)
{
    QFile file(directory.filePath(u"file"_s));
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    const till::Parts parts{QStringLiteral(PLUGIN_FILE), QStringLiteral(STAND_PROGRAM), file.fileName()};
    const Config config = till::loadSettings({});
    EXPECT_THROW(till::Till(parts, config, cashier), BasicException);
}

TEST_F(WholeTill, ThatCannotStartLeavesTheNextOneAFreshStart)
{
    till::Parts without = parts();
    without.pluginFile = directory.filePath(u"no-plugin.so"_s);
    const Config config = till::loadSettings({});
    EXPECT_THROW(till::Till(without, config, cashier), till::UsageError);
    EXPECT_THROW(storage::dataFile(u"x"_s), BasicException);
    start();
    sell(u"R"_s);
}

TEST_F(WholeTill, TellsAtItsStartWhatItFound)
{
    const test_support::LogCapture log(u"till"_s);
    start();
    EXPECT_TRUE(till->found().isEmpty());
    open(u"R"_s);
    EXPECT_THAT(log.lines().filter(u"info: "_s), testing::IsEmpty());
    start();
    EXPECT_EQ(till->found().ru(), u"Найден открытый чек R"_s);
    EXPECT_THAT(log.lines(), testing::Contains(u"info: Найден открытый чек R"_s));
    EXPECT_EQ(till->checkout().state(), till::State::Sale);
}

TEST_F(WholeTill, TellsOneAfterTheOtherOfSeveralThingsThatItFound)
{
    for (const char* left : {"till.sqlite-wal", "till.sqlite-shm"}) {
        QFile file(directory.filePath(QString::fromLatin1(left)));
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        file.write("of a store that is gone");
    }
    start();
    EXPECT_THAT(till->found().ru().toStdString(),
                testing::MatchesRegex("Журнал .* администратору Журнал .* администратору"));
}

TEST_F(WholeTill, TellsOfADamagedFileAndOfNothingMore)
{
    QFile store(directory.filePath(u"till.sqlite"_s));
    ASSERT_TRUE(store.open(QIODevice::WriteOnly));
    store.write("no database at all");
    store.close();
    start();
    EXPECT_THAT(till->found().ru().toStdString(),
                testing::AllOf(testing::StartsWith("Файл данных till.sqlite повреждён."),
                               testing::EndsWith("Сообщите администратору")));
}

TEST_F(WholeTill, ComesBackWithWhatIsOnDisk)
{
    start();
    EXPECT_EQ(till->restart().ru(), u"Открытого чека нет"_s);
    open(u"R"_s);
    till->checkout().receipt()->setFlag(4711); // which nobody has kept
    EXPECT_EQ(till->restart().ru(), u"Найден открытый чек R"_s);
    EXPECT_FALSE(till->checkout().receipt()->isFlagSet(4711));
    expectDone(till->checkout().pay());
}

TEST_F(WholeTill, GoesOnWhereItWasWhenItMayNotRestart)
{
    start();
    open(u"R"_s);
    ASSERT_TRUE(QFile::remove(directory.filePath(u"till.lock"_s)));
    EXPECT_THROW(till->restart(), BasicException);
    EXPECT_EQ(till->checkout().state(), till::State::Sale);
    const till::DeliveryResult delivery = till->deliver();
    EXPECT_FALSE(delivery.ok);
    EXPECT_EQ(delivery.delivered, std::nullopt) << "none could be tried";
}

TEST_F(WholeTill, IsDoneWhenItCannotComeBack)
{
    start();
    const test_support::RawDatabase raw(directory.filePath(u"till.sqlite"_s));
    raw.run(u"PRAGMA user_version=99"_s); // what a later version leaves behind
    EXPECT_THROW(till->restart(), till::UsageError);
}

TEST_F(WholeTill, SendsWhatWaitsAndCountsIt)
{
    start();
    sell(u"R-1"_s);
    sell(u"R-2"_s);
    const till::DeliveryResult delivery = till->deliver();
    expectDone(delivery);
    EXPECT_EQ(delivery.delivered, 2);
    EXPECT_EQ(till->deliveredMessages(), 2);
    sell(u"R-3"_s);
    expectDone(till->deliver());
    EXPECT_EQ(till->deliveredMessages(), 3);
    expectDone(till->deliver());
    EXPECT_EQ(till->deliver().delivered, 0);
}

TEST_F(WholeTill, SaysWhatIsLeftAndWhy)
{
    start();
    sell(u"R-1"_s);
    till->setServiceUp(false);
    EXPECT_EQ(till->deliver().error, u"В очереди осталось сообщений: 1 (no connection to the service)"_s);
    till->setServiceUp(true);
    expectDone(till->deliver());

    enqueueWhatIsRefused(u"R-2"_s);
    EXPECT_THAT(till->deliver().error.toStdString(),
                HasSubstr("В очереди осталось сообщений: 1, из них отклонено службой: 1 ("));
    enqueueWhatIsRefused(u"R-2"_s); // which waits behind the other
    EXPECT_EQ(till->deliver().error, u"В очереди осталось сообщений: 2, из них отклонено службой: 1"_s);
}

TEST_F(WholeTill, PutsTheMessagesOfAReturnBehindThoseOfItsSale)
{
    start();
    DBQueueBroker().enqueue(u"q"_s, {}, {});
    sell(u"S"_s);
    expectDone(till->checkout().openReturn(u"R"_s, u"S"_s, {{.posnum = 1, .quantity = 1}}));
    expectDone(till->checkout().pay());
    QStringList groups;
    for (const QueuedMessage& message : till->queue().messages(10))
        groups.append(message.group);
    ASSERT_GT(groups.size(), 2);
    EXPECT_EQ(groups.takeFirst(), QString()) << "what no receipt is open for belongs to none";
    EXPECT_THAT(groups, testing::Each(u"S"_s));
}

TEST_F(WholeTill, HasTheShopOfItsConfiguration)
{
    start();
    EXPECT_EQ(Singleton<Session>::instance->getRegistry()->getShopCode(), u"1"_s);
    Config config = till::loadSettings({});
    config.set(u"Till:shopCode"_s, u"42"_s);
    start(config);
    EXPECT_EQ(Singleton<Session>::instance->getRegistry()->getShopCode(), u"42"_s);
}

TEST_F(WholeTill, StartsNoServiceWhereItsConfigurationNamesOne)
{
    Config config = till::loadSettings({});
    till::setServerUrl(config, u"http://127.0.0.1:1/"_s);
    start(config);
    EXPECT_FALSE(till->ownsService());
    EXPECT_FALSE(QFile::exists(directory.filePath(u"stand.sqlite"_s)));
}

TEST_F(WholeTill, OfAShopSeesTheReceiptsOfAllItsTills)
{
    start();
    EXPECT_FALSE(dynamic_cast<shop::ShopDocuments*>(Singleton<DocumentsDao>::instance));
    Config config = till::loadSettings({});
    config.set(u"Shop:database"_s, u"host=127.0.0.1 port=1"_s);
    config.set(u"Shop:till"_s, u"7"_s);
    start(config);
    EXPECT_TRUE(dynamic_cast<shop::ShopDocuments*>(Singleton<DocumentsDao>::instance));
}

TEST_F(WholeTill, HasItsServiceBackAtTheSameAddress)
{
    start();
    const QString url = till->serviceUrl();
    till->setServiceUp(true); // which it is
    EXPECT_EQ(till->serviceUrl(), url);
    till->setServiceUp(false);
    till->setServiceUp(false);
    EXPECT_EQ(till->serviceUrl(), url);
    till->setServiceUp(true);
    EXPECT_EQ(till->serviceUrl(), url);
    RestClient client;
    client.get(QUrl(url), {}, {});
    EXPECT_NE(client.getErrorCode(), static_cast<int>(RestClient::ErrorCode::Connect)) << "it answers";
}

} // namespace checkouttest
