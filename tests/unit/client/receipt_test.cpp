#include "tests/unit/client/receiptworld.h"

#include <QJsonArray>

#include <limits>

using namespace Qt::StringLiterals;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

class Receipt : public ReceiptWorld
{
protected:
    void add(GoodsItem* item) { document->addGoodsItem(QSharedPointer<GoodsItem>(item)); }
    [[nodiscard]] QByteArray json(bool addBonusImpact = false) const
    {
        return QJsonDocument::fromVariant(client.makeCheck(addBonusImpact)).toJson(QJsonDocument::Compact);
    }
    [[nodiscard]] QVariantList listed(bool addBonusImpact = false) const
    {
        const QString details = at(client.makeCheck(addBonusImpact), "receipt_details").toString();
        return QJsonDocument::fromJson(details.toUtf8()).toVariant().toList();
    }
    QString discountOf(double discount)
    {
        auto item = QSharedPointer<GoodsItem>::create(1, u"1"_s, u"x"_s, 100, 1);
        item->setDiscount(discount);
        document.reset(new Document(SaleReceipt, u"R-1"_s));
        document->setCardRecord(card);
        document->addGoodsItem(item);
        Singleton<Session>::instance->setDocument(document);
        return at(client.makeCheck(false), "receipt_discount").toString();
    }
};

TEST_F(Receipt, IsSentAsTheServiceExpectsItByteForByte)
{
    auto milk = new GoodsItem(1, u"4601"_s, u"Молоко 3,2 %"_s, 89.9, 2);
    milk->setBonusImpactSum(12.5);
    add(milk);
    add(new GoodsItem(2, u"4602"_s, u"Хлеб"_s, 45, 1));
    EXPECT_TRUE(test_support::matchesGolden(json(false), "receipt.json"));
    EXPECT_TRUE(test_support::matchesGolden(json(true), "receipt_with_bonus_impact.json"));
}

TEST_F(Receipt, WithoutPositionsIsSentWithAnEmptyList)
{
    EXPECT_TRUE(test_support::matchesGolden(json(), "receipt_empty.json"));
}

TEST_F(Receipt, KeepsNamesWithQuotesEmojiControlCharactersAndLoneSurrogates)
{
    add(new GoodsItem(1, u"a\"b\\c"_s, u"Кофе «\"Лучший\"» ☕🎁\t\n\u0001/"_s, 1, 1));
    add(new GoodsItem(2, u"2"_s, QString(QChar(0xd800)) + u"x"_s + QChar(0xdc00), 1, 1));
    EXPECT_TRUE(test_support::matchesGolden(json(), "receipt_odd_names.json"));
}

TEST_F(Receipt, WritesNumbersInTheShortestFormThatReadsBack)
{
    add(new FixedItem(1, 0.1 + 0.2, 0, 0.1 + 0.2));
    add(new FixedItem(2, 1e21, 0, 1e21));
    add(new FixedItem(3, -0.0, 1, -0.0));
    add(new FixedItem(4, 5.0, 0, 5.0));
    add(new FixedItem(5, 1.0 / 3, 0, std::numeric_limits<double>::quiet_NaN()));
    EXPECT_TRUE(test_support::matchesGolden(json(), "receipt_odd_numbers.json"));
}

TEST_F(Receipt, GivesAPositionsNameInFull)
{
    const QString name = u"Масло сливочное «Крестьянское» 72,5 % высший сорт, 180 г"_s;
    add(new GoodsItem(1, u"1"_s, name, 1, 1));
    EXPECT_EQ(at(listed().value(0).toMap(), "prod_name"), QVariant(name));
}

TEST_F(Receipt, CarriesItsPositionsAsATextThatHoldsJson)
{
    add(new FixedItem(1, 10));
    const QVariant details = at(client.makeCheck(false), "receipt_details");
    EXPECT_EQ(details.typeId(), QMetaType::QString);
    EXPECT_TRUE(details.toString().startsWith(u'['));
}

TEST_F(Receipt, HasOperatorAndTerminalAsNullNeverOmitted)
{
    const QVariantMap check = client.makeCheck(false);
    ASSERT_TRUE(check.contains(u"operator_id"_s) && check.contains(u"terminal_id"_s));
    EXPECT_FALSE(at(check, "operator_id").isValid());
    EXPECT_FALSE(at(check, "terminal_id").isValid());
    EXPECT_TRUE(json().contains(R"("operator_id":null)"));
    EXPECT_TRUE(json().contains(R"("terminal_id":null)"));
}

TEST_F(Receipt, SkipsPositionsThatCostNothing)
{
    add(new FixedItem(1, 0.004));
    add(new FixedItem(2, -0.004));
    add(new FixedItem(3, -5, 5));
    EXPECT_THAT(listed(), IsEmpty());
    EXPECT_EQ(at(client.makeCheck(false), "receipt_details"), QVariant(u"[]"_s));
    EXPECT_EQ(at(client.makeCheck(false), "receipt_amount"), QVariant(0.0));
}

TEST_F(Receipt, ListsAPositionFromHalfAHundredthOnEitherWay)
{
    add(new FixedItem(1, 0.005));
    add(new FixedItem(2, -0.005));
    EXPECT_EQ(listed().size(), 2);
}

TEST_F(Receipt, ListsAPositionThatOnlyItsBonusDiscountMadeFree)
{
    add(new FixedItem(1, 0, 100));
    EXPECT_EQ(at(listed(false).value(0).toMap(), "prod_sum").toDouble(), 0.0);
    EXPECT_EQ(at(client.makeCheck(false), "receipt_amount").toDouble(), 0.0);
    EXPECT_EQ(at(listed(true).value(0).toMap(), "prod_sum").toDouble(), 100.0);
    EXPECT_EQ(at(client.makeCheck(true), "receipt_amount").toDouble(), 100.0);
}

TEST_F(Receipt, SumsWhatItListsWithoutRounding)
{
    add(new FixedItem(1, 0.1));
    add(new FixedItem(2, 0.2));
    add(new FixedItem(3, 0.001));
    EXPECT_EQ(at(client.makeCheck(false), "receipt_amount").toDouble(), 0.1 + 0.2);
}

TEST_F(Receipt, ListsPositionsInReceiptOrderWithTheirTypes)
{
    add(new FixedItem(7, 1));
    add(new FixedItem(3, 2));
    const QVariantMap first = listed().value(0).toMap();
    EXPECT_EQ(at(first, "position"), QVariant(u"7"_s));
    EXPECT_EQ(at(listed().value(1).toMap(), "position"), QVariant(u"3"_s));
    EXPECT_THAT(first.keys(), ElementsAre(u"position"_s, u"prod_amount"_s, u"prod_cat"_s, u"prod_code"_s,
                                          u"prod_name"_s, u"prod_price"_s, u"prod_sum"_s));
    const QByteArray details = at(client.makeCheck(false), "receipt_details").toByteArray();
    EXPECT_TRUE(details.contains(R"("prod_cat":0,)"));
}

TEST_F(Receipt, WritesADiscountAsTextWithTwoDecimals)
{
    EXPECT_EQ(discountOf(12.5), u"12.50"_s);
    EXPECT_EQ(discountOf(-3), u"-3.00"_s);
}

TEST_F(Receipt, WritesADiscountBelowHalfAHundredthAsZero)
{
    EXPECT_EQ(discountOf(0), u"0"_s);
    EXPECT_EQ(discountOf(0.004), u"0"_s);
    EXPECT_EQ(discountOf(-0.004), u"0"_s);
}

class HalfCent : public Document
{
public:
    using Document::Document;
    [[nodiscard]] double getDiscountSum() const override { return discount; }
    double discount = 0;
};

TEST_F(Receipt, TestsTheDiscountByItsMagnitudeAgainstHalfAHundredth)
{
    QSharedPointer<HalfCent> half(new HalfCent(SaleReceipt, u"R-1"_s));
    half->setCardRecord(card);
    Singleton<Session>::instance->setDocument(half);
    half->discount = 0.005;
    EXPECT_EQ(at(client.makeCheck(false), "receipt_discount").toString(), QString::number(0.005, 'f', 2));
    half->discount = -0.005;
    EXPECT_EQ(at(client.makeCheck(false), "receipt_discount").toString(), QString::number(-0.005, 'f', 2));
    half->discount = -0.0049;
    EXPECT_EQ(at(client.makeCheck(false), "receipt_discount").toString(), u"0"_s);
}

TEST_F(Receipt, GivesTheCardRecordItsOperationIdsOnce)
{
    (void)client.makeCheck(false);
    EXPECT_EQ(card->getOperationId(), uR"({"earn":"1717243201","spend":"1717243200"})"_s);
    clock.move(std::chrono::seconds(60));
    (void)client.makeCheck(true);
    EXPECT_EQ(card->getOperationId(), uR"({"earn":"1717243201","spend":"1717243200"})"_s);
}

TEST_F(Receipt, ReadsTheClockOnceForBothOperationIds)
{
    clock.setTick(std::chrono::seconds(60));
    (void)client.makeCheck(false);
    EXPECT_EQ(card->getOperationId(), uR"({"earn":"1717243201","spend":"1717243200"})"_s);
}

TEST_F(Receipt, LeavesAnOperationIdTextOfAnyContentAlone)
{
    card->setOperationId(u"not json"_s);
    (void)client.makeCheck(false);
    EXPECT_EQ(card->getOperationId(), u"not json"_s);
}

TEST_F(Receipt, WrapsOperationIdsAtThirtyTwoBitsButNotTheTime)
{
    clock.moveTo(QDateTime::fromSecsSinceEpoch(4294967295));
    EXPECT_EQ(at(client.makeCheck(false), "receipt_datetime"), QVariant(u"4294967295"_s));
    EXPECT_EQ(card->getOperationId(), uR"({"earn":"0","spend":"4294967295"})"_s);
    clock.moveTo(QDateTime::fromSecsSinceEpoch(4294967296 + 5));
    card->setOperationId({});
    EXPECT_EQ(at(client.makeCheck(false), "receipt_datetime"), QVariant(u"4294967301"_s));
    EXPECT_EQ(card->getOperationId(), uR"({"earn":"6","spend":"5"})"_s);
}

TEST_F(Receipt, TakesCardShopCurrencyAndIdentifierFromTheirOwners)
{
    client.currencyName = u"RUB"_s;
    const QVariantMap check = client.makeCheck(false);
    EXPECT_EQ(at(check, "card"), QVariant(u"2000000000017"_s));
    EXPECT_EQ(at(check, "branch_id"), QVariant(u"shop-7"_s));
    EXPECT_EQ(at(check, "receipt_currency"), QVariant(u"RUB"_s));
    EXPECT_EQ(at(check, "check_identifier"), QVariant(u"R-1"_s));
}

TEST_F(Receipt, LogsAndSendsNothing)
{
    (void)client.makeCheck(false);
    EXPECT_THAT(log(), IsEmpty());
    EXPECT_THAT(service.calls(), IsEmpty());
}

TEST_F(Receipt, WithoutACardOrADocumentFailsWithAClearText)
{
    Singleton<Session>::instance->setDocument(QSharedPointer<Document>::create(SaleReceipt, u"R-2"_s));
    EXPECT_EQ(failureOf([this] { (void)client.makeCheck(false); }),
              tr::Tr(u"kyrCardRecordMissing"_s, u"В документе нет карты системы лояльности KYRLoyalty"_s));
    Singleton<Session>::instance->setDocument({});
    EXPECT_EQ(failureOf([this] { (void)client.makeCheck(false); }),
              tr::Tr(u"kyrDocumentMissing"_s, u"Нет открытого документа"_s));
}

} // namespace
