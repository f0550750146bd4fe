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

    QSharedPointer<Document> sale = richSale(u"R-1"_s);
};

TEST_F(OpenReceipt, ComesBackAsItWasSaved)
{
    save();
    const auto back = SaveToFileLogic::loadOpenReceipt();
    ASSERT_NE(back, nullptr);
    EXPECT_EQ(documentcodec::written(*back), documentcodec::written(*sale));
    EXPECT_THAT(modes(), ElementsAre(u"open-receipt 600"_s));
}

TEST_F(OpenReceipt, IsTheLastOneSaved)
{
    save();
    sale->setPluginData(u"KyrLoyalty"_s, u"pointsForSpend"_s, 41.0);
    save();
    EXPECT_EQ(SaveToFileLogic::loadOpenReceipt()->getPluginData(u"KyrLoyalty"_s, u"pointsForSpend"_s, {}),
              QVariant(41.0));
}

TEST_F(OpenReceipt, IsNoneBeforeItWasSavedAndAfterItWasRemoved)
{
    EXPECT_EQ(SaveToFileLogic::loadOpenReceipt(), nullptr);
    save();
    SaveToFileLogic::removeOpenReceipt();
    EXPECT_EQ(SaveToFileLogic::loadOpenReceipt(), nullptr);
    EXPECT_NO_THROW(SaveToFileLogic::removeOpenReceipt());
}

TEST_F(OpenReceipt, UnderANameOfItsOwnLeavesTheHostsFileAlone)
{
    save(u"another"_s);
    EXPECT_EQ(SaveToFileLogic::loadOpenReceipt(), nullptr);
    EXPECT_EQ(bytes(u"another"_s), documentcodec::written(*sale));
}

TEST_F(OpenReceipt, CutShortAnywhereIsToldAndLeftUntouched)
{
    save();
    const QByteArray whole = bytes(u"open-receipt"_s);
    for (qsizetype size = 0; size < whole.size(); size += 37) {
        overwrite(u"open-receipt"_s, whole.first(size));
        EXPECT_EQ(failure([] { (void)SaveToFileLogic::loadOpenReceipt(); }), u"hostStorageDamaged"_s) << size;
        EXPECT_EQ(bytes(u"open-receipt"_s), whole.first(size));
    }
}

TEST_F(OpenReceipt, ThatIsDamagedIsToldWithItsPath)
{
    save();
    QByteArray damaged = bytes(u"open-receipt"_s);
    damaged[100] = static_cast<char>(damaged[100] + 1);
    overwrite(u"open-receipt"_s, damaged);
    try {
        (void)SaveToFileLogic::loadOpenReceipt();
        FAIL() << "taken for whole";
    } catch (const BasicException& exception) {
        EXPECT_TRUE(exception.tr().ru().contains(path(u"open-receipt"_s)));
    }
}

TEST_F(OpenReceipt, WithoutADocumentIsRefusedAndTheFileStays)
{
    save();
    sale.reset();
    EXPECT_EQ(failure([this] { save(); }), u"hostDocumentMissing"_s);
    EXPECT_NE(SaveToFileLogic::loadOpenReceipt(), nullptr);
}

TEST_F(OpenReceipt, OnAFullDiskIsRefusedAndTheFormerStays)
{
    save();
    const QByteArray before = bytes(u"open-receipt"_s);
    sale->setFlag(99);
    QString told;
    {
        const test_support::FullDisk full(100);
        told = failure([this] { save(); });
    }
    EXPECT_EQ(told, u"hostStorageFull"_s);
    EXPECT_EQ(bytes(u"open-receipt"_s), before);
}

TEST_F(OpenReceipt, WithoutADataDirectoryIsRefused)
{
    storage::setDataDirectory({});
    EXPECT_EQ(failure([this] { save(); }), u"hostDataDirectoryUnset"_s);
    EXPECT_EQ(failure([] { (void)SaveToFileLogic::loadOpenReceipt(); }), u"hostDataDirectoryUnset"_s);
}

} // namespace
