#include "host/storage/documentcodec.h"
#include "host/storage/storedform.h"
#include "tests/unit/storage/documents.h"
#include "tests/unit/storage/scene.h"

#include <bit>
#include <cstdint>

using namespace Qt::StringLiterals;

namespace {

struct Foreign
{
    int value = 0;
};

class DocumentCodec : public test_support::Storage
{
protected:
    static QSharedPointer<Document> reread(const Document& document)
    {
        return documentcodec::readDocument(documentcodec::written(document), u"file"_s);
    }
    static std::uint64_t bits(double value) { return std::bit_cast<std::uint64_t>(value); }

    QSharedPointer<Document> sale = richSale(u"R-1"_s);
    QSharedPointer<Document> back = reread(*sale);
};

TEST_F(DocumentCodec, BringsBackWhatTheDocumentSaysOfItself)
{
    EXPECT_EQ(back->getDocumentType(), SaleReceipt);
    EXPECT_EQ(back->getIdentifier(), u"R-1"_s);
    EXPECT_EQ(back->getReturnIdentifier(), u"back of R-1"_s);
    EXPECT_FALSE(back->getSaleDocumentId().isValid());
    EXPECT_EQ(back->flags(), (QSet<int>{254, 7}));
}

TEST_F(DocumentCodec, BringsBackAReturnsReferenceToItsSale)
{
    Document goodsBack(ReturnReceipt, u"V-1"_s);
    goodsBack.setSaleDocumentId(u"R-1"_s);
    const auto again = reread(goodsBack);
    EXPECT_EQ(again->getDocumentType(), ReturnReceipt);
    EXPECT_EQ(again->getSaleDocumentId(), QVariant(u"R-1"_s));
    EXPECT_EQ(again->getSaleDocumentId().typeId(), QMetaType::QString);
}

TEST_F(DocumentCodec, BringsBackPositionsInOrderWithEveryDoubleBitForBit)
{
    ASSERT_EQ(back->getGoodsItems().size(), 2);
    for (qsizetype i = 0; i < 2; ++i) {
        const auto was = sale->getGoodsItems()[i];
        const auto is = back->getGoodsItems()[i];
        EXPECT_EQ(is->getPosnum(), was->getPosnum());
        EXPECT_EQ(is->getArticul(), was->getArticul());
        EXPECT_EQ(is->getArticul().isNull(), was->getArticul().isNull());
        EXPECT_EQ(is->getName(false), was->getName(false));
        EXPECT_EQ(bits(is->getPrice()), bits(was->getPrice()));
        EXPECT_EQ(bits(is->getBquant()), bits(was->getBquant()));
        EXPECT_EQ(bits(is->getDiscount()), bits(was->getDiscount()));
        EXPECT_EQ(bits(is->getBonusImpactSum()), bits(was->getBonusImpactSum()));
    }
    EXPECT_EQ(back->getGoodsItemByPosnum(1), back->getGoodsItems()[1]);
}

TEST_F(DocumentCodec, BringsBackTheGrossSumThatAPartOfAPositionHasOfItsOwn)
{
    sale->getGoodsItems()[0]->setGrossSum(0.1 + 0.2);
    const auto items = reread(*sale)->getGoodsItems();
    EXPECT_EQ(items[0]->ownGrossSum(), std::optional(0.1 + 0.2));
    EXPECT_EQ(items[1]->ownGrossSum(), std::nullopt);
}

TEST_F(DocumentCodec, BringsBackTheCardRecordWithCardAndCustomer)
{
    const auto record = back->getCardRecord(KyrLoyaltySystem);
    ASSERT_NE(record, nullptr);
    EXPECT_EQ(record->getKind(), KyrLoyaltySystem);
    EXPECT_EQ(record->getNumber(), QVariant(u"2000000000017"_s));
    EXPECT_EQ(record->getCodeInternal(), 2);
    EXPECT_EQ(record->getCardStatus(), ECard::Active);
    EXPECT_EQ(record->getBonusBalance().typeId(), QMetaType::Double);
    EXPECT_EQ(record->getBonusBalance(), QVariant(1234.5));
    EXPECT_EQ(record->getOperationId(), u"{\"earn\":\"R-1\"}"_s);
    EXPECT_EQ(bits(record->getPointsForEarn().toDouble()), bits(-0.0));
    EXPECT_EQ(bits(record->getPointsForSpend()), bits(0.1 + 0.7));
    const auto client = record->getCard()->getClient();
    ASSERT_NE(client, nullptr);
    EXPECT_EQ(client->getName(), u"Иванова Анна"_s);
    EXPECT_EQ(client->getSex(), Client::Sex::Female);
    EXPECT_EQ(client->getBirthday(), QDate(1980, 2, 29));
    EXPECT_TRUE(client->getAddress().isNull());
    EXPECT_EQ(client->getEmail(), u"a@b.example"_s);
    EXPECT_EQ(client->getPhoneNumber(), u"79001234567"_s);
}

TEST_F(DocumentCodec, BringsBackACardRecordThatSaysNothingYet)
{
    const auto record = back->getCardRecord(NoLoyaltySystem);
    ASSERT_NE(record, nullptr);
    EXPECT_FALSE(record->getNumber().isValid());
    EXPECT_FALSE(record->getBonusBalance().isValid());
    EXPECT_FALSE(record->getPointsForEarn().isValid());
    EXPECT_EQ(record->getCard()->getClient(), nullptr);
}

TEST_F(DocumentCodec, BringsBackPlugInDataWithTheirTypes)
{
    ASSERT_EQ(back->pluginData().size(), 2);
    for (const QString& plugin : {u"KyrLoyalty"_s, u"Other"_s}) {
        const QVariantMap was = sale->pluginData().value(plugin);
        const QVariantMap is = back->pluginData().value(plugin);
        ASSERT_EQ(is.keys(), was.keys());
        for (auto value = was.cbegin(); value != was.cend(); ++value) {
            EXPECT_EQ(is.value(value.key()), value.value()) << value.key().toStdString();
            EXPECT_EQ(is.value(value.key()).typeId(), value.value().typeId()) << value.key().toStdString();
            EXPECT_EQ(is.value(value.key()).isNull(), value.value().isNull()) << value.key().toStdString();
        }
    }
}

TEST_F(DocumentCodec, WritesEqualDocumentsAsEqualBytes)
{
    EXPECT_EQ(documentcodec::written(*back), documentcodec::written(*sale));
    EXPECT_EQ(documentcodec::written(*richSale(u"R-1"_s)), documentcodec::written(*sale));
}

TEST_F(DocumentCodec, WritesADifferenceInAnyCornerAsDifferentBytes)
{
    const QByteArray same = documentcodec::written(*sale);
    const auto differs = [&](const auto& change) {
        const auto other = richSale(u"R-1"_s);
        change(*other);
        return documentcodec::written(*other) != same;
    };
    EXPECT_TRUE(differs([](Document& d) { d.setFlag(8); }));
    EXPECT_TRUE(differs([](Document& d) { d.setSaleDocumentId(1); }));
    EXPECT_TRUE(differs([](Document& d) { d.getGoodsItems()[1]->setBonusImpactSum(-0.0); }));
    EXPECT_TRUE(differs([](Document& d) { d.getGoodsItems()[0]->setGrossSum(134.85); }));
    EXPECT_TRUE(differs([](Document& d) { d.getCardRecord(12)->setBonusBalance(1234); }));
    EXPECT_TRUE(differs([](Document& d) { d.getCardRecord(12)->getCard()->getClient()->setAddress(u""_s); }));
    EXPECT_TRUE(differs([](Document& d) { d.setPluginData(u"Other"_s, u"int"_s, 5.0); }));
    EXPECT_FALSE(differs([](Document&) {}));
}

TEST_F(DocumentCodec, RefusesAPlugInsOwnType)
{
    sale->setPluginData(u"Other"_s, u"own"_s, QVariantList{QVariant::fromValue(Foreign{})});
    EXPECT_EQ(failure([&] { documentcodec::written(*sale); }), u"hostDocumentUnfit"_s);
}

TEST_F(DocumentCodec, RefusesPlugInDataThatAreTooDeep)
{
    QVariant deep = 1;
    for (int i = 0; i < storage::deepestStored; ++i)
        deep = QVariantList{deep};
    sale->setPluginData(u"Other"_s, u"deep"_s, deep);
    EXPECT_EQ(failure([&] { documentcodec::written(*sale); }), u"hostDocumentUnfit"_s);
}

TEST_F(DocumentCodec, IsDamagedWhenItsPlugInDataGoDownForEver)
{
    const QByteArray none = documentcodec::written(Document(SaleReceipt, u"R-1"_s)).sliced(48);
    const QByteArray oneMember = QByteArray::fromHex("00000001"
                                                     "00000002"
                                                     "0061");
    const QByteArray list = QByteArray::fromHex("00000009"
                                                "00"
                                                "00000001");
    const QByteArray deep = none.chopped(4) + oneMember + list.repeated(200'000) + QByteArray(5, '\0');
    EXPECT_EQ(failure([&] {
                  documentcodec::readDocument(storage::sealed({0x4B595264, 1}, deep), u"file"_s);
              }),
              u"hostStorageDamaged"_s);
}

TEST_F(DocumentCodec, IsDamagedWhenTwoPositionsHaveOneNumber)
{
    Document document(SaleReceipt, u"R-1"_s);
    for (const int posnum : {1, 2})
        document.addGoodsItem(QSharedPointer<GoodsItem>::create(posnum, u"x"_s, u"y"_s, 10, 1));
    const QByteArray articul = QByteArray::fromHex("00000002"
                                                   "0078");
    QByteArray content = documentcodec::written(document).sliced(48);
    content.replace(QByteArray::fromHex("00000002") + articul, QByteArray::fromHex("00000001") + articul);
    EXPECT_EQ(failure([&] {
                  documentcodec::readDocument(storage::sealed({0x4B595264, 1}, content), u"file"_s);
              }),
              u"hostStorageDamaged"_s);
}

TEST_F(DocumentCodec, TellsDamageAndALaterVersionWithTheFilesName)
{
    const QByteArray bytes = documentcodec::written(*sale);
    const auto read = [](const QByteArray& from) {
        return failure([&] { documentcodec::readDocument(from, u"file"_s); });
    };
    EXPECT_EQ(read(bytes.chopped(1)), u"hostStorageDamaged"_s);
    EXPECT_EQ(read({}), u"hostStorageDamaged"_s);
    EXPECT_EQ(read(documentcodec::written(*sale->getCardRecord(12))), u"hostStorageDamaged"_s);
    constexpr quint32 magic = 0x4B595264;
    EXPECT_EQ(read(storage::sealed({magic, 2}, bytes.sliced(48))), u"hostStorageNewer"_s);
    EXPECT_EQ(read(storage::sealed({magic, 1}, bytes.sliced(48) + 'x')), u"hostStorageDamaged"_s);
    EXPECT_EQ(read(storage::sealed({magic, 1}, bytes.sliced(48))), QString());
}

TEST_F(DocumentCodec, IsDamagedWhereverItsContentEnds)
{
    const QByteArray document = documentcodec::written(*sale).sliced(48);
    for (qsizetype size = 0; size < document.size(); ++size)
        EXPECT_EQ(failure([&] {
                      documentcodec::readDocument(storage::sealed({0x4B595264, 1}, document.first(size)), {});
                  }),
                  u"hostStorageDamaged"_s)
            << size;
    const QByteArray record = documentcodec::written(*sale->getCardRecord(12)).sliced(48);
    for (qsizetype size = 0; size < record.size(); ++size)
        EXPECT_EQ(failure([&] {
                      documentcodec::readCardRecord(storage::sealed({0x4B595263, 1}, record.first(size)), {});
                  }),
                  u"hostStorageDamaged"_s)
            << size;
}

} // namespace
