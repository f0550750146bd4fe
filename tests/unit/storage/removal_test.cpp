#include "host/storage/removal.h"

#include "host/queue/messagequeue.h"
#include "host/storage/documentcodec.h"
#include "host/storage/documents.h"
#include "host/storage/journal.h"
#include "host/storage/store.h"
#include "host/storage/storedform.h"
#include "tests/unit/storage/scene.h"

#include <gmock/gmock.h>

using namespace Qt::StringLiterals;
using storage::Need;
using storage::Removal;
using storage::tracesOf;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

const QString anna = u"2000000000017"_s;
const QString boris = u"2000000000024"_s;

class Traces : public test_support::Storage
{
protected:
    static QSharedPointer<Document> receipt(const QString& identifier, const QString& card = {},
                                            const QString& sale = {})
    {
        auto document =
            QSharedPointer<Document>::create(sale.isEmpty() ? SaleReceipt : ReturnReceipt, identifier);
        if (!sale.isEmpty())
            document->setSaleDocumentId(sale);
        if (!card.isEmpty())
            document->setCardRecord(QSharedPointer<DocumentCardRecord>::create(KyrLoyaltySystem, card));
        return document;
    }
    static void close(const QSharedPointer<Document>& document) { DocumentsDao().store(document); }
    static qint64 send(const QString& group, const QByteArray& body)
    {
        return MessageQueue().enqueue(u"q"_s, group, {{u"body"_s, body}}, {});
    }
};

TEST_F(Traces, OfACardAreTheFamiliesOfItsReceipts)
{
    close(receipt(u"S-1"_s, anna));
    close(receipt(u"S-2"_s, boris));
    close(receipt(u"S-3"_s));
    close(receipt(u"V-1"_s, anna, u"S-1"_s));
    close(receipt(u"V-2"_s, anna, u"S-4"_s));
    EXPECT_THAT(tracesOf(anna).families, ElementsAre(u"S-1"_s, u"S-4"_s)) << "each once";
    EXPECT_THAT(tracesOf(boris).families, ElementsAre(u"S-2"_s));
    EXPECT_THAT(tracesOf(u"2000000000031"_s).families, IsEmpty());
    EXPECT_THAT(tracesOf(anna).damaged, IsEmpty());
}

TEST_F(Traces, OfACardAreFoundAmongMoreReceiptsThanAreReadAtATime)
{
    {
        storage::Transaction commit;
        for (int i = 1; i <= 250; ++i)
            close(receipt(u"S-%1"_s.arg(i), i % 100 == 0 || i == 250 ? anna : boris));
        commit.commit();
    }
    EXPECT_THAT(tracesOf(anna).families, ElementsAre(u"S-100"_s, u"S-200"_s, u"S-250"_s));
}

TEST_F(Traces, OfACardAreInWhatWasWrittenBackToo)
{
    close(receipt(u"S-1"_s, boris));
    const auto written = receipt(u"S-1"_s, anna)->getCardRecord(KyrLoyaltySystem);
    storage::store()->change(u"INSERT INTO card_records VALUES ('S-1', 12, 1, ?)"_s,
                             {documentcodec::written(*written)});
    close(receipt(u"V-2"_s, boris, u"S-2"_s));
    storage::store()->change(u"INSERT INTO card_records VALUES ('V-2', 12, 1, ?)"_s,
                             {documentcodec::written(*written)});
    EXPECT_THAT(tracesOf(anna).families, ElementsAre(u"S-1"_s, u"S-2"_s));
}

TEST_F(Traces, OfACardAreInMessagesThatWaitAndInThoseThatWereDropped)
{
    send(u"S-1"_s, R"({"card":"2000000000017"})");
    send(u"S-1"_s, R"({"card":"2000000000017"})");
    MessageQueue().drop(send(u"S-2"_s, R"({"card":"2000000000017"})"));
    send(u"S-3"_s, R"({"card":"12000000000017"})");
    send({}, R"({"card":"2000000000017"})");
    EXPECT_THAT(tracesOf(anna).families, ElementsAre(u"S-1"_s, u"S-2"_s));
}

TEST_F(Traces, OfACardAreInTheOpenReceipt)
{
    SaveToFileLogic().save(receipt(u"V-1"_s, anna, u"S-1"_s), {});
    EXPECT_THAT(tracesOf(anna).families, ElementsAre(u"S-1"_s));
    EXPECT_THAT(tracesOf(boris).families, IsEmpty());
    SaveToFileLogic().save(receipt(u"S-2"_s, anna), {});
    EXPECT_THAT(tracesOf(anna).families, ElementsAre(u"S-2"_s));
}

TEST_F(Traces, ThatCannotBeReadAreNamedAndOnesOfALaterVersionAreTold)
{
    close(receipt(u"S-1"_s, anna));
    close(receipt(u"S-2"_s, anna));
    const auto stored = DocumentsDao().loadDocument(u"S-1"_s, true);
    DocumentsDao().saveCardRecord(stored->getCardRecord(KyrLoyaltySystem));
    flipABit(u"documents"_s, u"content"_s, u"identifier = 'S-1'"_s);
    flipABit(u"card_records"_s, u"content"_s, u"document = 'S-1'"_s);
    const storage::CardTraces traces = tracesOf(anna);
    EXPECT_THAT(traces.families, ElementsAre(u"S-2"_s));
    EXPECT_THAT(traces.damaged, ElementsAre(u"S-1"_s)) << "once";
    storage::store()->change(u"UPDATE documents SET content = ?"_s,
                             {storage::sealed({0x4B595264, 2}, "of tomorrow")});
    EXPECT_EQ(failure([] { (void)tracesOf(anna); }), u"hostStorageNewer"_s);
}

TEST_F(Traces, AreRemovedWithTheWholeFamilyUnlessSomethingNeedsIt)
{
    close(receipt(u"S-1"_s, anna));
    close(receipt(u"V-1"_s, anna, u"S-1"_s));
    close(receipt(u"S-2"_s));
    {
        Removal removal(storage::store());
        EXPECT_EQ(removal.familyOf(u"V-1"_s), u"S-1"_s);
        EXPECT_EQ(removal.familyOf(u"S-1"_s), u"S-1"_s);
        EXPECT_EQ(removal.needOf(u"S-1"_s), std::nullopt);
        EXPECT_TRUE(removal.youngestOf(u"S-1"_s));
        EXPECT_EQ(removal.youngestOf(u"none"_s), std::nullopt);
    }
    const qint64 id = send(u"S-1"_s, {});
    EXPECT_EQ(Removal(storage::store()).needOf(u"S-1"_s), Need::Waiting);
    MessageQueue().park(id, {});
    EXPECT_EQ(Removal(storage::store()).needOf(u"S-1"_s), Need::Parked);
    MessageQueue().drop(id);
    SaveToFileLogic().save(receipt(u"V-2"_s, anna, u"S-1"_s), {});
    EXPECT_EQ(Removal(storage::store()).needOf(u"S-1"_s), Need::Open);
    EXPECT_EQ(Removal(storage::store()).needOf(u"V-2"_s), Need::Open);
    EXPECT_EQ(Removal(storage::store()).needOf(u"S-2"_s), std::nullopt);
    SaveToFileLogic::removeOpenReceipt();
    const auto note = [](const QString& event) {
        storage::Journal().add(
            {.time = {}, .receipt = u"S-1"_s, .event = event, .operation = {}, .detail = {}});
    };
    note(u"unknown"_s);
    EXPECT_EQ(Removal(storage::store()).needOf(u"S-1"_s), Need::Unknown);
    note(u"abandoned"_s);
    EXPECT_EQ(Removal(storage::store()).needOf(u"S-1"_s), std::nullopt);

    QStringList removed;
    for (const storage::RemovedReceipt& one : Removal(storage::store()).remove(u"S-1"_s))
        removed.append(one.identifier);
    EXPECT_THAT(removed, ElementsAre(u"S-1"_s, u"V-1"_s));
    EXPECT_THAT(tracesOf(anna).families, IsEmpty());
    EXPECT_THAT(storage::Journal().of(u"S-1"_s), IsEmpty());
    EXPECT_TRUE(DocumentsDao().contains(u"S-2"_s));
}

} // namespace
