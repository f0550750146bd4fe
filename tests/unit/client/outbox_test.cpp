#include "tests/unit/client/receiptworld.h"

#include <stdexcept>

using namespace Qt::StringLiterals;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

class Outbox : public ReceiptWorld
{
protected:
    Outbox()
    {
        document->addGoodsItem(QSharedPointer<GoodsItem>(new FixedItem(1, 90, 10)));
        document->setReturnIdentifier(u"back-R-1"_s);
    }
    QString idIn(const QString& record, const QString& kind = u"spend"_s)
    {
        card->setOperationId(record);
        return client.getOperationId(card, kind);
    }
};

TEST_F(Outbox, ReadsTheReceiptNumberOfAKind)
{
    EXPECT_EQ(idIn(uR"({"earn":"101","spend":"100"})"_s), u"100"_s);
    EXPECT_EQ(idIn(uR"({"earn":"101","spend":"100"})"_s, u"earn"_s), u"101"_s);
}

TEST_F(Outbox, ReadsAnEmptyNumberWhereThereIsNone)
{
    EXPECT_EQ(idIn(u""_s), QString());
    EXPECT_EQ(idIn(u"not json"_s), QString());
    EXPECT_EQ(idIn(u"[1]"_s), QString());
    EXPECT_EQ(idIn(uR"({"earn":"101"})"_s), QString());
    EXPECT_EQ(idIn(uR"({"spend":100})"_s), QString()) << "a JSON number is no text";
}

TEST_F(Outbox, ReplacesTheNumberOfOneKind)
{
    card->setOperationId(uR"({"earn":"101","spend":"100"})"_s);
    client.setOperationId(card, u"spend"_s, u"200"_s);
    EXPECT_EQ(card->getOperationId(), uR"({"earn":"101","spend":"200"})"_s);
    EXPECT_THAT(documents->saved, IsEmpty()) << "whoever calls saves the record";
}

TEST_F(Outbox, StartsAnewFromARecordThatIsEmptyOrNoJson)
{
    for (const QString& text : {u""_s, u"not json"_s, u"[1]"_s}) {
        card->setOperationId(text);
        client.setOperationId(card, u"earn"_s, u"5"_s);
        EXPECT_EQ(card->getOperationId(), uR"({"earn":"5"})"_s);
    }
}

TEST_F(Outbox, QueuesTheRefusalOfASpending)
{
    card->setOperationId(uR"({"earn":"43","spend":"42"})"_s);
    client.sendMessageToQueue(card, u"500"_s, true);
    ASSERT_EQ(queue->entries.size(), 1);
    EXPECT_TRUE(test_support::matchesGolden(queuedBody(), "refuse_spending.json"));
    EXPECT_EQ(card->getOperationId(), uR"({"earn":"43","spend":"500"})"_s);
    EXPECT_THAT(documents->saved, ElementsAre(card));
    EXPECT_THAT(log(), IsEmpty());
    EXPECT_THAT(service.calls(), IsEmpty());
}

TEST_F(Outbox, QueuesTheRefusalOfAnEarning)
{
    card->setOperationId(uR"({"earn":"43","spend":"42"})"_s);
    client.sendMessageToQueue(card, u"500"_s, false);
    EXPECT_TRUE(test_support::matchesGolden(queuedBody(), "refuse_earning.json"));
    EXPECT_EQ(card->getOperationId(), uR"({"earn":"500","spend":"42"})"_s);
}

TEST_F(Outbox, QueuesARefusalWithoutAnEarlierNumberAsItStands)
{
    card->setOperationId(u"{}"_s);
    client.sendMessageToQueue(card, u"500"_s, true);
    EXPECT_EQ(at(queuedJson(), "receipt_to_refuse"), QVariant(u""_s));
    EXPECT_EQ(at(queuedJson(), "refuse_receipt_description"), QVariant(u"Отмена "_s));
    EXPECT_EQ(at(queuedJson(), "refuse_receipt_number"), QVariant(u"refuse"_s));
}

TEST_F(Outbox, DescribesARefusalWithTheCurrentDocumentsIdentifier)
{
    client.sendMessageToQueue(card, u"500"_s, true);
    EXPECT_EQ(at(queuedJson(), "receipt_description"), QVariant(u"Откорректированная R-1"_s));
    EXPECT_EQ(at(queuedJson(), "receipt_bonus_amount"), QVariant(u"0"_s));
    EXPECT_EQ(at(queuedJson(), "refuse_mode"), QVariant(u"1"_s));
}

TEST_F(Outbox, MessagesHoldFiveMembersOfTheirTypes)
{
    client.sendMessageToQueue(card, u"500"_s, true);
    const auto& entry = queue->entries.first();
    EXPECT_EQ(entry.queue, u"kyrloyalty"_s);
    EXPECT_EQ(entry.text, QString());
    EXPECT_THAT(entry.message.keys(),
                ElementsAre(u"body"_s, u"headers"_s, u"method"_s, u"timeout"_s, u"url"_s));
    EXPECT_EQ(at(entry.message, "method"), QVariant(u"POST"_s));
    EXPECT_EQ(at(entry.message, "headers"), QVariant(client.getHeadersMap()));
    EXPECT_EQ(at(entry.message, "body").typeId(), QMetaType::QByteArray);
    EXPECT_EQ(at(entry.message, "timeout").typeId(), QMetaType::Int);
    EXPECT_EQ(at(entry.message, "timeout"), QVariant(7));
    EXPECT_EQ(at(entry.message, "url"), QVariant(u"http://service/v2/partner/operation/refuse-payment"_s));
}

TEST_F(Outbox, ARefusalThatCannotBeQueuedChangesNothing)
{
    card->setOperationId(uR"({"spend":"42"})"_s);
    queue->before = [] { throw std::runtime_error("disk full"); };
    EXPECT_THROW(client.sendMessageToQueue(card, u"500"_s, true), std::runtime_error);
    EXPECT_EQ(card->getOperationId(), uR"({"spend":"42"})"_s);
    EXPECT_THAT(documents->saved, IsEmpty());
}

TEST_F(Outbox, ARefusalWhoseRecordCannotBeSavedStaysQueuedAndPassesTheFailureOn)
{
    card->setOperationId(uR"({"spend":"42"})"_s);
    documents->beforeSave = [] { throw std::runtime_error("disk full"); };
    EXPECT_THROW(client.sendMessageToQueue(card, u"500"_s, true), std::runtime_error);
    EXPECT_EQ(queue->entries.size(), 1);
    EXPECT_EQ(client.getOperationId(card, u"spend"_s), u"500"_s);
}

} // namespace
