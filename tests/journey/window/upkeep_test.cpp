#include "host/storage/datadirectory.h"
#include "host/storage/documents.h"
#include "tests/journey/window/cashier.h"
#include "tests/support/rawdatabase.h"

#include <QTest>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace windowtest {

namespace {

/// A cashier whose till has kept a receipt for longer than it may.
class WindowUpkeep : public testing::Test
{
protected:
    static QString withAnOldReceipt(const QString& directory)
    {
        storage::setDataDirectory(directory);
        DocumentsDao().store(QSharedPointer<Document>::create(SaleReceipt, u"R-1"_s));
        storage::setDataDirectory({});
        const test_support::RawDatabase store(directory + u"/till.sqlite"_s);
        constexpr qint64 day = 86'400'000;
        const qint64 now = QDateTime::currentMSecsSinceEpoch();
        store.run(u"UPDATE documents SET stored = ?"_s, {now - 401 * day});
        store.run(u"UPDATE clock SET seen = ?"_s, {now - day});
        return directory;
    }
    bool keepsIt() { return DocumentsDao().loadDocument(u"R-1"_s, false) != nullptr; }
    till::window::Upkeep& upkeep() { return cashier.window().upkeep(); }
    /// Gives it the time for many steps.
    static void idle()
    {
        int ticks = 0;
        QTimer timer;
        QObject::connect(&timer, &QTimer::timeout, [&ticks] { ++ticks; });
        timer.start(1ms);
        ASSERT_TRUE(QTest::qWaitFor([&ticks] { return ticks > 20; }));
    }

    QTemporaryDir directory;
    Cashier cashier{{.dataDirectory = withAnOldReceipt(directory.path())}};
};

} // namespace

TEST_F(WindowUpkeep, RemovesWhatWasKeptForItsTimeWhileNoCustomerIsThere)
{
    idle();
    EXPECT_TRUE(keepsIt()) << "the cashier was there just now";
    upkeep().setQuietTime(1ms);
    EXPECT_TRUE(QTest::qWaitFor([this] { return !keepsIt(); }));
}

TEST_F(WindowUpkeep, RemovesItTooWhileTheReceiptIsEmpty)
{
    cashier.model().openSale();
    upkeep().setQuietTime(1ms);
    EXPECT_TRUE(QTest::qWaitFor([this] { return !keepsIt(); }));
}

TEST_F(WindowUpkeep, RemovesNothingWhileSomethingIsOnTheReceipt)
{
    cashier.model().addGoods(cashier.model().catalogue().goods().first());
    upkeep().setQuietTime(1ms);
    idle();
    EXPECT_TRUE(keepsIt());
    cashier.model().pay();
    EXPECT_TRUE(QTest::qWaitFor([this] { return !keepsIt(); }));
}

TEST_F(WindowUpkeep, KnowsHowLongNobodyHasTouchedAnything)
{
    ASSERT_TRUE(QTest::qWaitFor([this] { return upkeep().untouchedFor() > 50; }));
    QElapsedTimer since;
    since.start();
    cashier.press(Qt::Key_Shift);
    EXPECT_LE(upkeep().untouchedFor(), since.elapsed());
    ASSERT_TRUE(QTest::qWaitFor([this] { return upkeep().untouchedFor() > 50; }));
    since.start();
    QTest::mouseClick(cashier.window().windowHandle(), Qt::LeftButton, {}, QPoint(5, 5));
    EXPECT_LE(upkeep().untouchedFor(), since.elapsed());
}

} // namespace windowtest
