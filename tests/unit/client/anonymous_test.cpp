#include "tests/unit/client/receiptworld.h"

#include <limits>
#include <tuple>

using namespace Qt::StringLiterals;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

const QString opening = u"info: Операция для незарегистрированного пользователя "_s;

class Anonymous : public ReceiptWorld
{
protected:
    static void add(const QSharedPointer<Document>& to, GoodsItem* item)
    {
        to->addGoodsItem(QSharedPointer<GoodsItem>(item));
    }
    /// A sale of positions 1 (100, quantity 2) and 2 (50) and a return of it, still empty.
    QSharedPointer<Document> openReturn()
    {
        QSharedPointer<Document> sale(new Document(SaleReceipt, u"R-0"_s));
        add(sale, new FixedItem(1, 100, 0, 2));
        add(sale, new FixedItem(2, 50));
        openReturnOf(sale);
        document->setReturnIdentifier(u"back-V-1"_s);
        return sale;
    }
    [[nodiscard]] QStringList methods() const
    {
        QStringList result;
        for (const auto& entry : queue->entries)
            result.append(at(entry.message, "method").toString());
        return result;
    }
    [[nodiscard]] QVariantList details(qsizetype entry = 0) const
    {
        return at(queuedJson(entry), "receipt_details").toList();
    }
};

TEST_F(Anonymous, SaleIsQueuedAsAPostByteForByte)
{
    add(document, new GoodsItem(1, u"4601"_s, u"Молоко 3,2 %"_s, 89.9, 2));
    add(document, new FixedItem(2, 0));
    add(document, new FixedItem(3, 45.5));
    client.anonymousReceipt();
    ASSERT_EQ(queue->entries.size(), 1);
    EXPECT_TRUE(test_support::matchesGolden(queuedBody(), "anonymous_sale.json"));
    EXPECT_THAT(methods(), ElementsAre(u"POST"_s));
    EXPECT_EQ(details().size(), 2) << "a position that costs nothing is not listed";
    EXPECT_THAT(log(), ElementsAre(opening));
}

TEST_F(Anonymous, SaleKeepsOddNamesAndNumbersByteForByte)
{
    add(document, new GoodsItem(1, u"a\"b\\c"_s, u"Кофе «\"Лучший\"» ☕🎁\t\n\u0001/"_s, 1, 1));
    add(document, new GoodsItem(2, u"2"_s, QString(QChar(0xd800)) + u"x"_s + QChar(0xdc00), 1, 1));
    add(document, new FixedItem(3, 0.1 + 0.2, 0, 0.1 + 0.2));
    add(document, new FixedItem(4, 1e21, 0, 1e21));
    add(document, new FixedItem(5, -0.0, 1, -0.0));
    client.anonymousReceipt();
    EXPECT_TRUE(test_support::matchesGolden(queuedBody(), "anonymous_odd.json"));
}

TEST_F(Anonymous, SaleWithoutPositionsIsSentWithAnEmptyList)
{
    client.anonymousReceipt();
    EXPECT_TRUE(test_support::matchesGolden(queuedBody(), "anonymous_empty.json"));
}

TEST_F(Anonymous, MessagesGoToTheQueueAndNotToTheService)
{
    client.anonymousReceipt();
    const auto& entry = queue->entries.first();
    EXPECT_EQ(entry.queue, u"kyrloyalty"_s);
    EXPECT_EQ(entry.text, QString());
    EXPECT_EQ(at(entry.message, "url"), QVariant(u"http://service/v2/partner/operation/receipt"_s));
    EXPECT_EQ(at(entry.message, "timeout"), QVariant(7));
    EXPECT_EQ(at(entry.message, "headers"), QVariant(client.getHeadersMap()));
    EXPECT_THAT(service.calls(), IsEmpty());
}

TEST_F(Anonymous, ListsPositionsAsAnArrayNotAsAText)
{
    add(document, new FixedItem(1, 10));
    client.anonymousReceipt();
    EXPECT_TRUE(queuedBody().contains(R"("receipt_details":[{)"));
}

TEST_F(Anonymous, SpellsCancelledWithACyrillicLetter)
{
    client.anonymousReceipt();
    EXPECT_TRUE(queuedBody().contains("\"\xd1\x81"
                                      "anceled\":0"));
    EXPECT_FALSE(queuedBody().contains("\"canceled\""));
}

TEST_F(Anonymous, CountsTheSumAfterTheBonusDiscountButListsByTheSumBeforeIt)
{
    add(document, new FixedItem(1, 0, 100));
    add(document, new FixedItem(2, 90, 10));
    client.anonymousReceipt();
    EXPECT_EQ(details().size(), 2);
    EXPECT_EQ(at(queuedJson(), "receipt_amount").toDouble(), 90.0);
}

TEST_F(Anonymous, ReturnOfTheWholeSaleIsOneBackMessage)
{
    openReturn();
    add(document, new FixedItem(1, 100, 0, 2));
    add(document, new FixedItem(2, 50.004));
    client.anonymousReceipt();
    EXPECT_THAT(methods(), ElementsAre(u"PUT"_s));
    EXPECT_TRUE(test_support::matchesGolden(queuedBody(), "anonymous_back.json"));
    EXPECT_THAT(log(), ElementsAre(opening));
}

TEST_F(Anonymous, ReturnThatDiffersByHalfAHundredthIsPartial)
{
    openReturn();
    add(document, new FixedItem(1, 150.01, 0, 2));
    client.anonymousReceipt();
    EXPECT_EQ(queue->entries.size(), 2) << "more than the sale is no whole return either";
}

class ReplacedSending : public OpenClient
{
public:
    void sendAnonymousCheck(const QString& type) const override { types.append(type); }
    mutable QStringList types;
};

class FixedSum : public Document
{
public:
    FixedSum(EDocumentType type, const QString& identifier, double sum)
        : Document(type, identifier)
        , m_sum(sum)
    {}
    [[nodiscard]] double getSum() const override { return m_sum; }

private:
    double m_sum;
};

TEST_F(Anonymous, ReturnIsWholeWhenItsTotalIsWithinHalfAHundredthOfTheSales)
{
    constexpr double nan = std::numeric_limits<double>::quiet_NaN();
    constexpr double infinity = std::numeric_limits<double>::infinity();
    const QList<std::tuple<double, double, bool>> cases{
        {150, 150, true},  {150.0049, 150, true},      {149.9951, 150, true},
        {0.005, 0, false}, {149.994, 150, false},      {150, nan, true},
        {nan, 150, true},  {infinity, infinity, true}, {infinity, 150, false}};
    ReplacedSending replaced;
    for (const auto& [returned, sold, whole] : cases) {
        replaced.types.clear();
        openReturnOf(QSharedPointer<FixedSum>::create(SaleReceipt, u"R-0"_s, sold));
        const auto back = QSharedPointer<FixedSum>::create(ReturnReceipt, u"V-1"_s, returned);
        back->setSaleDocumentId(u"R-0"_s);
        Singleton<Session>::instance->setDocument(back);
        replaced.anonymousReceipt();
        EXPECT_EQ(replaced.types,
                  whole ? QStringList{u"back"_s} : (QStringList{u"backfull"_s, u"salepartial"_s}))
            << returned << " of " << sold;
    }
}

TEST_F(Anonymous, ReturnOfOnePositionTakesTheSaleBackAndSellsTheRest)
{
    openReturn();
    add(document, new FixedItem(1, 100, 0, 2));
    client.anonymousReceipt();
    EXPECT_THAT(methods(), ElementsAre(u"PUT"_s, u"POST"_s));
    EXPECT_TRUE(test_support::matchesGolden(queuedBody(0), "anonymous_backfull.json"));
    EXPECT_TRUE(test_support::matchesGolden(queuedBody(1), "anonymous_salepartial.json"));
    EXPECT_EQ(at(queuedJson(0), "receipt_number"), QVariant(u"back-V-1"_s));
    EXPECT_EQ(at(queuedJson(1), "receipt_number"), QVariant(u"V-1"_s));
}

TEST_F(Anonymous, ReturnOfHalfAQuantityListsTheRestButCountsTheWholePosition)
{
    openReturn();
    add(document, new FixedItem(1, 50, 0, 1));
    client.anonymousReceipt();
    const QVariantMap rest = details(1).value(0).toMap();
    EXPECT_EQ(details(1).size(), 2);
    EXPECT_EQ(at(rest, "prod_amount").toDouble(), 1.0);
    EXPECT_EQ(at(rest, "prod_sum").toDouble(), 50.0);
    EXPECT_EQ(at(queuedJson(1), "receipt_amount").toDouble(), 150.0);
}

TEST_F(Anonymous, RestOfASaleSkipsWhatWasReturnedWithinHalfAHundredthAndWhatCostNothing)
{
    const auto sale = openReturn();
    add(sale, new FixedItem(3, 0));
    add(document, new FixedItem(1, 100.004, 0, 2));
    const QVariantMap rest = client.makeAnonymousDocumentPartial();
    const QVariantList positions = at(rest, "receipt_details").value<QJsonDocument>().toVariant().toList();
    ASSERT_EQ(positions.size(), 1);
    EXPECT_EQ(at(positions[0].toMap(), "position"), QVariant(u"2"_s));
    EXPECT_EQ(at(rest, "receipt_amount"), QVariant(50.0));
}

TEST_F(Anonymous, RestOfASaleKeepsAPositionThatOnlyItsBonusDiscountMadeFree)
{
    QSharedPointer<Document> sale(new Document(SaleReceipt, u"R-0"_s));
    add(sale, new FixedItem(1, 0, 10));
    add(sale, new FixedItem(2, 50));
    openReturnOf(sale);
    add(document, new FixedItem(2, 50));
    const QVariantMap rest = client.makeAnonymousDocumentPartial();
    EXPECT_EQ(at(rest, "receipt_details").value<QJsonDocument>().toVariant().toList().size(), 1);
}

TEST_F(Anonymous, ReturnWhoseSaleIsNotStoredQueuesNothing)
{
    const tr::Tr notLoaded(u"kyrDocumentSaleNotLoaded"_s, u"Не удалось загрузить документ продажи"_s);
    openReturn();
    documents->documents.clear();
    EXPECT_EQ(failureOf([this] { client.anonymousReceipt(); }), notLoaded);
    EXPECT_EQ(failureOf([this] { (void)client.makeAnonymousDocumentPartial(); }), notLoaded);
    EXPECT_EQ(failureOf([this] { client.sendAnonymousCheck(u"backfull"_s); }), notLoaded);
    EXPECT_TRUE(queue->entries.isEmpty());
    EXPECT_THAT(log(), ElementsAre(opening));
}

TEST_F(Anonymous, WithoutACurrentDocumentFailsWithAClearTextAfterItsFirstLine)
{
    Singleton<Session>::instance->setDocument({});
    EXPECT_EQ(failureOf([this] { client.anonymousReceipt(); }).id(), u"kyrDocumentMissing"_s);
    EXPECT_THAT(log(), ElementsAre(opening));
}

TEST_F(Anonymous, AnyOtherTypeOfDocumentIsLoggedAndNotSent)
{
    Singleton<Session>::instance->setDocument(
        QSharedPointer<Document>::create(static_cast<EDocumentType>(3), u"X-1"_s));
    client.anonymousReceipt();
    EXPECT_TRUE(queue->entries.isEmpty());
    EXPECT_THAT(log(), ElementsAre(opening, u"info: Не поддерживаемый тип чека "_s));
}

TEST_F(Anonymous, SendsThroughItsVirtualOperationsInOrder)
{
    ReplacedSending replaced;
    replaced.anonymousReceipt();
    EXPECT_THAT(replaced.types, ElementsAre(u"sale"_s));
    openReturn();
    add(document, new FixedItem(1, 1));
    replaced.anonymousReceipt();
    EXPECT_THAT(replaced.types, ElementsAre(u"sale"_s, u"backfull"_s, u"salepartial"_s));
    add(document, new FixedItem(2, 149));
    replaced.anonymousReceipt();
    EXPECT_EQ(replaced.types.last(), u"back"_s);
}

} // namespace
