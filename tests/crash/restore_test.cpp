#include "host/core/document.h"
#include "host/storage/datadirectory.h"
#include "host/storage/documents.h"
#include "host/storage/storebackup.h"
#include "host/storage/transaction.h"
#include "tests/crash/tracedtill.h"
#include "tests/support/rawdatabase.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <gmock/gmock.h>

#include <sys/stat.h>

// A backup and a restore, killed at their every system call.

using namespace Qt::StringLiterals;

namespace crashtest {

namespace {

/// Of the calls that give no file a name, every how manyth it is killed at, from the last one on.
int everyHowManyth()
{
    bool isNumber = false;
    const int every = qEnvironmentVariableIntValue("KYR_CRASH_EVERY", &isNumber);
    return isNumber && every > 0 ? every : 9;
}

class AKilledCopy : public ::testing::Test
{
protected:
    AKilledCopy()
    {
        umask(077);
        storage::setDataDirectory(data());
        sell(u"R-1"_s);
        storage::backUpStore(backup());
        sell(u"R-2"_s);
        storage::setDataDirectory({});
    }

    void SetUp() override
    {
        const QString fault = tracingFault();
        ASSERT_TRUE(fault.isEmpty()) << fault.toStdString();
    }

    [[nodiscard]] QString data() const { return m_folder.filePath(u"data"_s); }
    [[nodiscard]] QString backup() const { return m_folder.filePath(u"backup.sqlite"_s); }
    [[nodiscard]] QString made() const { return m_folder.filePath(u"made.sqlite"_s); }

    static void sell(const QString& identifier)
    {
        DocumentsDao().store(QSharedPointer<Document>::create(SaleReceipt, identifier));
    }
    static QString receiptsIn(const QString& file)
    {
        return QFile::exists(file) ? test_support::RawDatabase(file)
                                         .run(u"SELECT group_concat(identifier) FROM documents"_s)[0][0]
                                         .toString()
                                   : QString();
    }
    /// Runs it as often as it makes such calls, from the same data directory each time, killed at each in
    /// turn.
    void killAtEach(const QStringList& arguments, const std::function<void()>& look) const
    {
        const QString kept = m_folder.filePath(u"kept"_s);
        ASSERT_TRUE(QDir().rename(data(), kept));
        const auto begin = [&] {
            QDir(data()).removeRecursively();
            QDir().mkpath(data());
            for (const QString& name : QDir(kept).entryList(QDir::Files))
                QFile::copy(kept + u'/' + name, data() + u'/' + name);
            QFile::remove(made());
        };
        begin();
        const auto counts = countCalls(arguments);
        int killed = 0;
        for (auto call = counts.cbegin(); call != counts.cend(); ++call) {
            const bool names = call.key().startsWith(u"rename"_s) || call.key() == u"link"_s;
            for (int number = *call; number > 0; number -= names ? 1 : everyHowManyth()) {
                begin();
                SCOPED_TRACE(u"killed at %1 %2"_s.arg(call.key()).arg(number).toStdString());
                killed += runTillKilledAt(call.key(), number, arguments).killed ? 1 : 0;
                look();
            }
        }
        EXPECT_GE(killed, 10);
    }

private:
    QTemporaryDir m_folder;
};

TEST_F(AKilledCopy, LeavesTheFormerStoreOrTheRestoredOneInPlace)
{
    int restored = 0;
    killAtEach({u"restore"_s, backup(), u"--data-dir"_s, data()}, [&] {
        const QString receipts = receiptsIn(data() + u"/till.sqlite"_s);
        if (receipts == u"R-1,R-2"_s)
            return;
        ++restored;
        EXPECT_EQ(receipts, u"R-1"_s);
        const QStringList former = QDir(data()).entryList({u"till.sqlite.replaced-*"_s});
        ASSERT_EQ(former.size(), 1);
        EXPECT_EQ(receiptsIn(data() + u'/' + former.first()), u"R-1,R-2"_s);
    });
    EXPECT_GE(restored, 1) << "it was always too early";
}

TEST_F(AKilledCopy, LeavesAWholeBackupOrNone)
{
    int whole = 0;
    killAtEach({u"backup"_s, made(), u"--data-dir"_s, data()}, [&] {
        EXPECT_EQ(receiptsIn(data() + u"/till.sqlite"_s), u"R-1,R-2"_s);
        if (!QFile::exists(made()))
            return;
        ++whole;
        EXPECT_EQ(receiptsIn(made()), u"R-1,R-2"_s);
    });
    EXPECT_GE(whole, 1) << "it was always too early";
}

} // namespace

} // namespace crashtest
