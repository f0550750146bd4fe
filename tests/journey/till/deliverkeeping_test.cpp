#include "host/core/document.h"
#include "host/storage/documents.h"
#include "tests/journey/till/deliverscene.h"
#include "tests/support/rawdatabase.h"

#include <thread>

using namespace Qt::StringLiterals;
using test_support::HttpAnswer;

namespace tilltest {

namespace {

/// A receipt of 31 days ago, whose message waits, and one of 29.
class TillDeliverKeeping : public TillDeliver
{
protected:
    TillDeliverKeeping()
    {
        for (const QString& receipt : {u"R-1"_s, u"R-2"_s})
            DocumentsDao().store(QSharedPointer<Document>::create(SaleReceipt, receipt));
        const test_support::RawDatabase store(file);
        const qint64 now = QDateTime::currentMSecsSinceEpoch();
        constexpr qint64 day = 86'400'000;
        store.run(u"UPDATE documents SET stored = ?"_s, {now - 31 * day});
        store.run(u"UPDATE documents SET stored = ? WHERE identifier = 'R-2'"_s, {now - 29 * day});
        store.run(u"UPDATE clock SET seen = ?"_s, {now - day});
        server.enqueue(HttpAnswer::status(200, "{}"));
    }

    [[nodiscard]] QStringList receipts() const
    {
        QStringList receipts;
        for (const QVariantList& row :
             test_support::RawDatabase(file).run(u"SELECT identifier FROM documents ORDER BY identifier"_s))
            receipts.append(row[0].toString());
        return receipts;
    }

    /// The receipts once one was removed.
    [[nodiscard]] QStringList receiptsLeft() const
    {
        const auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(patienceMs);
        while (receipts().size() > 1 && std::chrono::steady_clock::now() < end)
            std::this_thread::sleep_for(std::chrono::milliseconds(20));
        return receipts();
    }

    const QString file = directory + u"/till.sqlite"_s;
};

} // namespace

TEST_F(TillDeliverKeeping, RemovesWhatWasKeptForItsTimeOnceNothingIsToBeSent)
{
    configure("new", "[Till]\nkeepDays = 30\n");
    startProgram();
    EXPECT_EQ(receiptsLeft(), QStringList(u"R-2"_s));
    EXPECT_EQ(stopProgram(), 0);
}

TEST_F(TillDeliverKeeping, GoesByTheTimesThatWereReadAnew)
{
    const QString path = files.path(u"notify"_s);
    const Manager manager(path);
    startProgram({u"NOTIFY_SOCKET="_s + path});
    ASSERT_TRUE(says("message 1 of R-1, payment-b2c: delivered\n"));
    configure("new", "[Till]\nkeepDays = 30\n");
    EXPECT_EQ(receipts().size(), 2);
    reload(manager);
    EXPECT_EQ(receiptsLeft(), QStringList(u"R-2"_s));
    EXPECT_EQ(stopProgram(), 0);
}

} // namespace tilltest
