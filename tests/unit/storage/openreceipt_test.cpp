#include "host/storage/documentcodec.h"
#include "host/storage/documents.h"
#include "tests/unit/storage/documents.h"
#include "tests/unit/storage/scene.h"

#include <gmock/gmock.h>

using namespace Qt::StringLiterals;
using testing::ElementsAre;

namespace {

class OpenReceipt : public test_support::Storage
{
protected:
    void save(const QString& fileName = {}) { MockFactory<SaveToFileLogic>::create()->save(sale, fileName); }
    [[nodiscard]] QByteArray kept() const { return test_support::openReceiptIn(path()); }

    QSharedPointer<Document> sale = richSale(u"R-1"_s);
};

TEST_F(OpenReceipt, ComesBackAsItWasSaved)
{
    save();
    const auto back = SaveToFileLogic::loadOpenReceipt();
    ASSERT_NE(back, nullptr);
    EXPECT_EQ(documentcodec::written(*back), documentcodec::written(*sale));
    EXPECT_THAT(modes(), ElementsAre(u"till.sqlite 600"_s)) << "in the one store";
}

TEST_F(OpenReceipt, IsTheLastOneSaved)
{
    save();
    sale->setPluginData(u"KyrLoyalty"_s, u"pointsForSpend"_s, 41.0);
    save();
    EXPECT_EQ(SaveToFileLogic::loadOpenReceipt()->getPluginData(u"KyrLoyalty"_s, u"pointsForSpend"_s, {}),
              QVariant(41.0));
}

TEST_F(OpenReceipt, ThatDidNotChangeIsNotWrittenAgain)
{
    const auto held = storage::store();
    save();
    const QByteArray log = bytes(u"till.sqlite-wal"_s);
    save();
    EXPECT_EQ(bytes(u"till.sqlite-wal"_s), log);
    sale->setFlag(99);
    save();
    EXPECT_NE(bytes(u"till.sqlite-wal"_s), log);
}

TEST_F(OpenReceipt, IsKeptWithTheTransactionAroundIt)
{
    save();
    {
        const storage::Transaction undone;
        SaveToFileLogic::removeOpenReceipt();
        EXPECT_EQ(SaveToFileLogic::loadOpenReceipt(), nullptr);
    }
    EXPECT_NE(SaveToFileLogic::loadOpenReceipt(), nullptr);
    {
        const storage::Transaction undone;
        sale->setFlag(99);
        save();
    }
    EXPECT_FALSE(SaveToFileLogic::loadOpenReceipt()->isFlagSet(99));
}

TEST_F(OpenReceipt, IsNoneBeforeItWasSavedAndAfterItWasRemoved)
{
    EXPECT_EQ(SaveToFileLogic::loadOpenReceipt(), nullptr);
    save();
    SaveToFileLogic::removeOpenReceipt();
    EXPECT_EQ(SaveToFileLogic::loadOpenReceipt(), nullptr);
    EXPECT_NO_THROW(SaveToFileLogic::removeOpenReceipt());
}

TEST_F(OpenReceipt, UnderANameOfItsOwnLeavesTheHostsPlaceAlone)
{
    save(u"another"_s);
    EXPECT_EQ(SaveToFileLogic::loadOpenReceipt(), nullptr);
    EXPECT_EQ(bytes(u"another"_s), documentcodec::written(*sale));
}

TEST_F(OpenReceipt, CutShortAnywhereIsToldAndLeftUntouched)
{
    save();
    const QByteArray whole = kept();
    for (qsizetype size = 1; size < whole.size(); size += 37) {
        test_support::putOpenReceipt(path(), whole.first(size));
        EXPECT_EQ(failure([] { (void)SaveToFileLogic::loadOpenReceipt(); }), u"hostStorageDamaged"_s) << size;
        EXPECT_EQ(kept(), whole.first(size));
    }
}

TEST_F(OpenReceipt, ThatIsDamagedIsToldWithItsPlace)
{
    save();
    flipABit(u"open_receipt"_s, u"content"_s, u"slot = 1"_s);
    try {
        (void)SaveToFileLogic::loadOpenReceipt();
        FAIL() << "taken for whole";
    } catch (const BasicException& exception) {
        EXPECT_TRUE(exception.tr().ru().contains(path(u"till.sqlite: open_receipt"_s)));
    }
}

TEST_F(OpenReceipt, WithoutADocumentIsRefusedAndTheFormerStays)
{
    save();
    sale.reset();
    EXPECT_EQ(failure([this] { save(); }), u"hostDocumentMissing"_s);
    EXPECT_NE(SaveToFileLogic::loadOpenReceipt(), nullptr);
}

TEST_F(OpenReceipt, OnAFullDiskIsRefusedAndTheFormerStays)
{
    const auto held = storage::store();
    save();
    const QByteArray before = kept();
    sale->setFlag(99);
    QString told;
    {
        const test_support::FullDisk full(bytes(u"till.sqlite-wal"_s).size() + 100);
        told = failure([this] { save(); });
    }
    EXPECT_EQ(told, u"hostStorageFull"_s);
    EXPECT_EQ(kept(), before);
}

TEST_F(OpenReceipt, WithoutADataDirectoryIsRefused)
{
    storage::setDataDirectory({});
    EXPECT_EQ(failure([this] { save(); }), u"hostDataDirectoryUnset"_s);
    EXPECT_EQ(failure([] { (void)SaveToFileLogic::loadOpenReceipt(); }), u"hostDataDirectoryUnset"_s);
}

} // namespace
