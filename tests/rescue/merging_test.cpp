// What is taken out of a file into a store that has some of it already, or something else.

#include "host/storage/rescue.h"
#include "host/storage/storedtables.h"
#include "tests/rescue/scene.h"

#include <gmock/gmock.h>

using namespace Qt::StringLiterals;
using testing::ElementsAre;
using testing::IsEmpty;

namespace rescuetest {

namespace {

class Rescuing : public TwoStores
{
protected:
    /// "documents 1+2-3": taken, there and lost; a table without rows is left out.
    QStringList rescue()
    {
        m_rescued = storage::rescue(otherFile());
        QStringList told;
        for (const storage::RescuedTable& table : m_rescued.tables) {
            if (table.taken + table.there + table.lost > 0)
                told.append(
                    u"%1 %2+%3-%4"_s.arg(table.table).arg(table.taken).arg(table.there).arg(table.lost));
        }
        return told;
    }
    /// "queued 2 R-1 text: why"
    [[nodiscard]] QStringList lost() const
    {
        QStringList told;
        for (const storage::LostRow& row : m_rescued.lost)
            told.append(QStringList{row.table, row.key, row.receipt, row.text}.join(u' ').simplified() +
                        u": "_s + row.why);
        return told;
    }
    [[nodiscard]] const storage::Rescued& rescued() const { return m_rescued; }
    static void changeOther(const QString& file, const QString& sql)
    {
        test_support::RawDatabase(file).run(sql);
    }

private:
    storage::Rescued m_rescued;
};

TEST_F(Rescuing, TakesAllIntoAnEmptyStoreUnderItsOwnNumbers)
{
    goToTheOther();
    sell(u"R-1"_s);
    MessageQueue().delivered(send(u"R-1"_s, u"first"_s), {});
    send(u"R-1"_s, u"second"_s);
    MessageQueue().park(send(u"R-2"_s, u"third"_s), {400, u"nein"_s, 3});
    send(u"R-1"_s, u"fourth"_s);
    MessageQueue().drop(send(u"R-3"_s, u"fifth"_s));
    leaveOpen(u"R-4"_s);
    goBack();

    EXPECT_THAT(rescue(), ElementsAre(u"documents 1+0-0"_s, u"queued 3+0-0"_s, u"history 2+0-0"_s,
                                      u"journal 9+0-0"_s, u"open_receipt 1+0-0"_s));
    EXPECT_THAT(lost(), IsEmpty());
    EXPECT_THAT(waiting(), ElementsAre(u"2 R-1 second"_s, u"3 R-2 third!"_s, u"4 R-1 fourth"_s));
    EXPECT_THAT(events(u"R-1"_s),
                ElementsAre(u"closed 0"_s, u"queued 1"_s, u"delivered 1"_s, u"queued 2"_s, u"queued 4"_s));
    EXPECT_EQ(MessageQueue().waitingCount(), 2);
    EXPECT_EQ(MessageQueue().parkedCount(), 1);
    EXPECT_EQ(openReceipt(), u"R-4"_s);
    EXPECT_THAT(sales(), ElementsAre(u"R-1"_s));
    EXPECT_EQ(send(u"R-5"_s), 6) << "no number is given twice";
}

TEST_F(Rescuing, PutsMessagesBehindThoseThatAreThereInTheirOrderAndTellsTheJournalTheirNumbers)
{
    goToTheOther();
    send(u"R-1"_s, u"first"_s);
    send(u"R-1"_s, u"second"_s);
    MessageQueue().delivered(send(u"R-2"_s, u"third"_s), {});
    goBack();
    send(u"R-1"_s, u"new"_s);
    send(u"R-9"_s, u"newer"_s);

    rescue();

    EXPECT_THAT(waiting(),
                ElementsAre(u"1 R-1 new"_s, u"2 R-9 newer"_s, u"3 R-1 first"_s, u"4 R-1 second"_s));
    EXPECT_THAT(events(u"R-1"_s), ElementsAre(u"queued 1"_s, u"queued 3"_s, u"queued 4"_s));
    EXPECT_THAT(events(u"R-2"_s), ElementsAre(u"queued 5"_s, u"delivered 5"_s));
    EXPECT_EQ(send(u"R-3"_s), 6);
    const auto next = MessageQueue().nextDue(QDateTime::currentDateTime(), QDateTime::currentDateTime(),
                                             {*MessageQueue().find(2)});
    EXPECT_EQ(next.value_or(QueuedMessage()).text, u"new"_s) << "one receipt's messages keep their order";
}

TEST_F(Rescuing, ChangesNothingTheSecondTimeThoughAMessageWasDeliveredMeanwhile)
{
    goToTheOther();
    sell(u"R-1"_s);
    send(u"R-1"_s, u"first"_s);
    send(u"R-1"_s, u"second"_s);
    leaveOpen(u"R-2"_s);
    goBack();
    send(u"R-9"_s, u"new"_s);
    rescue();
    MessageQueue().delivered(2, {});
    sell(u"R-2"_s);
    SaveToFileLogic::removeOpenReceipt();
    const QStringList before = waiting() + events(u"R-1"_s) + events(u"R-2"_s);

    EXPECT_THAT(rescue(), ElementsAre(u"documents 0+1-0"_s, u"queued 0+2-0"_s, u"journal 0+3-0"_s,
                                      u"open_receipt 0+1-0"_s));
    EXPECT_EQ(waiting() + events(u"R-1"_s) + events(u"R-2"_s), before);
    EXPECT_EQ(openReceipt(), QString());
    EXPECT_EQ(send(u"R-3"_s), 4);
}

TEST_F(Rescuing, BringsAlongWhatAReplacedStoreHasBeyondItsCopy)
{
    goToTheOther();
    MessageQueue().delivered(send(u"R-1"_s, u"first"_s), {});
    send(u"R-1"_s, u"second"_s);
    makePrivate(path());
    ASSERT_TRUE(QFile::copy(otherFile(), file()));
    send(u"R-1"_s, u"third"_s);
    goBack();

    EXPECT_THAT(rescue(), ElementsAre(u"queued 1+1-0"_s, u"history 0+1-0"_s, u"journal 1+3-0"_s));
    EXPECT_THAT(waiting(), ElementsAre(u"2 R-1 second"_s, u"3 R-1 third"_s)) << "under their own numbers";
    EXPECT_THAT(events(u"R-1"_s), ElementsAre(u"queued 1"_s, u"delivered 1"_s, u"queued 2"_s, u"queued 3"_s));
}

TEST_F(Rescuing, KeepsAsManyAsThereAreOfMessagesThatAreAlike)
{
    const test_support::StillClock clock;
    goToTheOther();
    send(u"R-1"_s);
    send(u"R-1"_s);
    goBack();

    EXPECT_THAT(rescue(), ElementsAre(u"queued 2+0-0"_s, u"journal 2+0-0"_s));
    EXPECT_THAT(rescue(), ElementsAre(u"queued 0+2-0"_s, u"journal 0+2-0"_s));
}

TEST_F(Rescuing, KnowsAMessageThatWasReaddressedMeanwhile)
{
    goToTheOther();
    send(u"R-1"_s);
    goBack();
    rescue();
    changeOther(file(), u"UPDATE queued SET message = x'00'"_s); // any other content

    rescue();
    EXPECT_EQ(waiting().size(), 1);
}

TEST_F(Rescuing, NeverPutsBackWhatTheFileKnowsToHaveLeftTheQueue)
{
    goToTheOther();
    MessageQueue().delivered(send(u"R-1"_s, u"gone"_s), {});
    send(u"R-1"_s, u"waits"_s);
    goBack();
    // As a page does that is older than the history's.
    changeOther(otherFile(), u"INSERT INTO queued (id, queue, receipt, enqueued, message, text) "
                             "SELECT h.id, h.queue, h.receipt, h.enqueued, q.message, h.text "
                             "FROM history h, queued q"_s);

    rescue();
    EXPECT_THAT(waiting(), ElementsAre(u"2 R-1 waits"_s));
}

TEST_F(Rescuing, TakesNoMessageThatIsNotWholeAndTellsWhatIsKnownOfIt)
{
    goToTheOther();
    send(u"R-1"_s, u"first"_s);
    send(u"R-2"_s, u"second"_s);
    goBack();
    test_support::flipABit(otherFile(), u"queued"_s, u"message"_s, u"id = 2"_s);

    EXPECT_THAT(rescue(), ElementsAre(u"queued 1+0-1"_s, u"journal 2+0-0"_s));
    EXPECT_THAT(lost(), ElementsAre(u"queued 2 R-2 second: its content is damaged"_s));
    EXPECT_THAT(waiting(), ElementsAre(u"1 R-1 first"_s));
    EXPECT_THAT(events(u"R-2"_s), ElementsAre(u"queued 2"_s));
}

TEST_F(Rescuing, TellsByTheJournalWhatALostMessageWas)
{
    goToTheOther();
    send(u"R-1"_s, {});
    goBack();
    test_support::flipABit(otherFile(), u"queued"_s, u"message"_s, u"id = 1"_s);
    rescue();
    EXPECT_THAT(lost(), ElementsAre(u"queued 1 R-1 payment-b2c: its content is damaged"_s));
}

TEST_F(Rescuing, TellsOfAMessageAndAReceiptThatOnlyTheJournalKnows)
{
    goToTheOther();
    sell(u"R-1"_s);
    sell(u"R-2"_s);
    send(u"R-1"_s);
    MessageQueue().delivered(send(u"R-1"_s), {});
    goBack();
    send(u"R-9"_s, u"the store's first"_s);
    changeOther(otherFile(), u"DELETE FROM documents WHERE identifier = 'R-2'"_s);
    changeOther(otherFile(), u"DELETE FROM queued"_s);

    rescue();
    EXPECT_THAT(
        lost(),
        ElementsAre(u"documents R-2: the journal tells of it, but it is nowhere in the file"_s,
                    u"queued 1 R-1 payment-b2c: the journal tells of it, but it is nowhere in the file"_s));
    EXPECT_THAT(events(u"R-1"_s), ElementsAre(u"closed 0"_s, u"queued 2"_s, u"queued 3"_s, u"delivered 3"_s))
        << "none of the store's own numbers";
}

TEST_F(Rescuing, MissesAMessageBesideOneThatIsDamaged)
{
    goToTheOther();
    send(u"R-1"_s);
    send(u"R-2"_s);
    goBack();
    test_support::flipABit(otherFile(), u"queued"_s, u"message"_s, u"id = 1"_s);
    changeOther(otherFile(), u"DELETE FROM queued WHERE id = 2"_s);

    rescue();
    EXPECT_THAT(
        lost(),
        ElementsAre(u"queued 1 R-1 Начисление: its content is damaged"_s,
                    u"queued 2 R-2 payment-b2c: the journal tells of it, but it is nowhere in the file"_s));
}

TEST_F(Rescuing, MissesAMessageByWhateverTheJournalTellsOfItUnlessThatIsItsEnd)
{
    goToTheOther();
    qint64 message = 0;
    for (const QString& event : {u"queued"_s, u"attempt"_s, u"parked"_s, u"retried"_s, u"readdressed"_s,
                                 u"delivered"_s, u"dropped"_s}) {
        ++message;
        for (const QString& each : {u"queued"_s, event})
            storage::Journal().add({.time = {},
                                    .receipt = u"R-1"_s,
                                    .event = each,
                                    .operation = each,
                                    .message = message,
                                    .detail = {}});
    }
    goBack();

    rescue();
    const QString why = u": the journal tells of it, but it is nowhere in the file"_s;
    EXPECT_THAT(lost(), ElementsAre(u"queued 1 R-1 queued"_s + why, u"queued 2 R-1 attempt"_s + why,
                                    u"queued 3 R-1 parked"_s + why, u"queued 4 R-1 retried"_s + why,
                                    u"queued 5 R-1 readdressed"_s + why));
}

TEST_F(Rescuing, OpensTheOpenReceiptUnlessAnotherIsOpen)
{
    goToTheOther();
    leaveOpen(u"R-1"_s);
    goBack();
    leaveOpen(u"R-2"_s);

    rescue();
    EXPECT_EQ(openReceipt(), u"R-2"_s);
    EXPECT_THAT(lost(),
                ElementsAre(u"open_receipt R-1: another receipt is open; once that one is closed, do this "
                            "again"_s));
    SaveToFileLogic::removeOpenReceipt();
    rescue();
    EXPECT_EQ(openReceipt(), u"R-1"_s);
    EXPECT_THAT(lost(), IsEmpty());
}

TEST_F(Rescuing, ClosesTheOpenReceiptThatWasClosedInTheFile)
{
    goToTheOther();
    sell(u"R-1"_s);
    goBack();
    leaveOpen(u"R-1"_s);

    rescue();
    EXPECT_EQ(openReceipt(), QString());
    EXPECT_EQ(rescued().closed, u"R-1"_s);
    EXPECT_THAT(sales(), ElementsAre(u"R-1"_s));
}

TEST_F(Rescuing, MendsADamagedReceiptAndADamagedMessageFromABackup)
{
    goToTheOther();
    sell(u"R-1"_s);
    send(u"R-1"_s);
    makePrivate(path());
    ASSERT_TRUE(QFile::copy(otherFile(), file()));
    goBack();
    test_support::flipABit(file(), u"documents"_s, u"content"_s, u"identifier = 'R-1'"_s);
    test_support::flipABit(file(), u"queued"_s, u"message"_s, u"id = 1"_s);

    EXPECT_THAT(rescue(), ElementsAre(u"documents 1+0-0"_s, u"queued 1+0-0"_s, u"journal 0+2-0"_s));
    EXPECT_TRUE(DocumentsDao().loadDocument(u"R-1"_s, false));
    EXPECT_FALSE(MessageQueue().find(1)->damaged);
}

TEST_F(Rescuing, LeavesAnotherReceiptOfTheSameIdentifierAsItIs)
{
    goToTheOther();
    sell(u"R-1"_s);
    goBack();
    DocumentsDao().store(QSharedPointer<Document>::create(ReturnReceipt, u"R-1"_s));

    rescue();
    EXPECT_EQ(DocumentsDao().loadDocument(u"R-1"_s, false)->getDocumentType(), ReturnReceipt);
    EXPECT_THAT(lost(),
                ElementsAre(u"documents R-1: the store has another receipt of that identifier, which was "
                            "left"_s));
}

TEST_F(Rescuing, KeepsTheNewerOfTwoCardRecords)
{
    const auto sale = QSharedPointer<Document>::create(SaleReceipt, u"R-1"_s);
    sale->setCardRecord(QSharedPointer<DocumentCardRecord>::create(KyrLoyaltySystem, u"2000000000017"_s, 1));
    const auto write = [](const QString& operation) {
        const auto stored = DocumentsDao().loadDocument(u"R-1"_s, true);
        stored->getCardRecord(KyrLoyaltySystem)->setOperationId(operation);
        DocumentsDao().saveCardRecord(stored->getCardRecord(KyrLoyaltySystem));
    };
    const auto kept = [] {
        return DocumentsDao()
            .loadDocument(u"R-1"_s, false)
            ->getCardRecord(KyrLoyaltySystem)
            ->getOperationId();
    };
    DocumentsDao().store(sale);
    write(u"old"_s);
    goToTheOther();
    DocumentsDao().store(sale);
    write(u"first"_s);
    write(u"newest"_s);
    goBack();

    rescue();
    EXPECT_EQ(kept(), u"newest"_s);
    write(u"newer still"_s);
    rescue();
    EXPECT_EQ(kept(), u"newer still"_s);
}

TEST_F(Rescuing, LeavesAnotherCardRecordThatWasWrittenBackAsOftenAsItIs)
{
    const auto sale = QSharedPointer<Document>::create(SaleReceipt, u"R-1"_s);
    sale->setCardRecord(QSharedPointer<DocumentCardRecord>::create(KyrLoyaltySystem, u"2000000000017"_s, 1));
    const auto write = [&sale](const QString& operation) {
        DocumentsDao().store(sale);
        const auto stored = DocumentsDao().loadDocument(u"R-1"_s, true);
        stored->getCardRecord(KyrLoyaltySystem)->setOperationId(operation);
        DocumentsDao().saveCardRecord(stored->getCardRecord(KyrLoyaltySystem));
    };
    write(u"the store's"_s);
    goToTheOther();
    write(u"the file's"_s);
    goBack();

    EXPECT_THAT(rescue(), ElementsAre(u"documents 0+1-0"_s, u"card_records 0+0-1"_s));
    EXPECT_THAT(lost(),
                ElementsAre(u"card_records R-1: the store has another card written back, which was left"_s));
    EXPECT_EQ(DocumentsDao().loadDocument(u"R-1"_s, false)->getCardRecord(KyrLoyaltySystem)->getOperationId(),
              u"the store's"_s);
}

TEST_F(Rescuing, TakesAsManyEntriesOfTheJournalThatAreAlikeAsTheFileHasMore)
{
    const test_support::StillClock clock;
    const auto note = [] {
        storage::Journal().add(
            {.time = {}, .receipt = u"R-1"_s, .event = u"request"_s, .operation = {}, .detail = {}});
    };
    note();
    goToTheOther();
    note();
    note();
    note();
    goBack();

    EXPECT_THAT(rescue(), ElementsAre(u"journal 2+1-0"_s));
    EXPECT_EQ(events(u"R-1"_s).size(), 3);
}

TEST_F(Rescuing, NumbersWhatTheJournalTellsLaterOfAMessageAsTheStoreDoes)
{
    send(u"R-0"_s, u"the store's own"_s);
    goToTheOther();
    const qint64 id = send(u"R-1"_s);
    goBack();
    rescue();
    EXPECT_THAT(events(u"R-1"_s), ElementsAre(u"queued 2"_s));
    goToTheOther();
    MessageQueue().failed(id, {503, u"no"_s, 3}, QDateTime::currentDateTimeUtc());
    goBack();

    EXPECT_THAT(rescue(), ElementsAre(u"queued 0+1-0"_s, u"journal 1+1-0"_s));
    EXPECT_THAT(events(u"R-1"_s), ElementsAre(u"queued 2"_s, u"attempt 2"_s));
}

TEST_F(Rescuing, MissesNoMessageOfWhichTheJournalOnlyTellsThatItIsNone)
{
    goToTheOther();
    storage::Journal().add(
        {.time = {}, .receipt = u"R-1"_s, .event = u"attempt"_s, .operation = {}, .detail = {}});
    goBack();

    EXPECT_THAT(rescue(), ElementsAre(u"journal 1+0-0"_s));
    EXPECT_THAT(lost(), IsEmpty());
}

TEST_F(Rescuing, LeavesAnOpenReceiptThatIsDamagedWhereItIs)
{
    leaveOpen(u"R-1"_s);
    goToTheOther();
    sell(u"R-1"_s);
    leaveOpen(u"R-2"_s);
    goBack();
    test_support::flipABit(file(), u"open_receipt"_s, u"content"_s, u"slot = 1"_s);

    EXPECT_THAT(rescue(), ElementsAre(u"documents 1+0-0"_s, u"journal 1+0-0"_s, u"open_receipt 0+0-1"_s));
    EXPECT_EQ(rescued().closed, QString());
    EXPECT_EQ(failure([] { (void)openReceipt(); }), u"hostStorageDamaged"_s);
}

TEST_F(Rescuing, OpensNoReceiptThatTheJournalKnowsToHaveBeenAbandoned)
{
    goToTheOther();
    leaveOpen(u"R-1"_s);
    storage::Journal().add(
        {.time = {}, .receipt = u"R-1"_s, .event = u"abandoned"_s, .operation = {}, .detail = {}});
    goBack();

    EXPECT_THAT(rescue(), ElementsAre(u"journal 1+0-0"_s, u"open_receipt 0+1-0"_s));
    EXPECT_EQ(openReceipt(), QString());
}

TEST_F(Rescuing, DoesNotMissWhatIsDamagedInTheFileAndThereInTheStore)
{
    goToTheOther();
    sell(u"R-1"_s);
    send(u"R-1"_s);
    MessageQueue().drop(send(u"R-1"_s, u"dropped"_s));
    send(u"R-2"_s); // by which the numbers are known to be the same
    goBack();
    rescue();
    test_support::flipABit(otherFile(), u"documents"_s, u"content"_s, u"identifier = 'R-1'"_s);
    test_support::flipABit(otherFile(), u"queued"_s, u"message"_s, u"id = 1"_s);
    test_support::flipABit(otherFile(), u"history"_s, u"message"_s, u"id = 2"_s);

    EXPECT_THAT(rescue(),
                ElementsAre(u"documents 0+1-0"_s, u"queued 0+2-0"_s, u"history 0+1-0"_s, u"journal 0+5-0"_s));
    EXPECT_THAT(lost(), IsEmpty());
}

TEST_F(Rescuing, PutsWhatAReplacedStoreHasBeyondItsCopyBehindWhatTheCopyGotMeanwhile)
{
    goToTheOther();
    send(u"R-1"_s, u"first"_s);
    makePrivate(path());
    ASSERT_TRUE(QFile::copy(otherFile(), file()));
    send(u"R-2"_s, u"the file's"_s);
    goBack();
    send(u"R-3"_s, u"the store's"_s);

    rescue();
    EXPECT_THAT(waiting(), ElementsAre(u"1 R-1 first"_s, u"2 R-3 the store's"_s, u"4 R-2 the file's"_s));
    EXPECT_THAT(events(u"R-2"_s), ElementsAre(u"queued 4"_s));
}

TEST_F(Rescuing, FindsNothingInAFileThatIsNoStore)
{
    sell(u"R-1"_s);
    QDir().mkpath(otherFolder());
    overwrite(u"../other/till.sqlite"_s, QByteArray(100'000, '\x0d'));
    EXPECT_FALSE(storage::rescue(otherFile()).isStore);
    overwrite(u"../other/till.sqlite"_s, {});
    EXPECT_FALSE(storage::rescue(otherFile()).isStore);
}

TEST_F(Rescuing, KnowsEveryTableOfTheStoreAndTheFormOfItsRows)
{
    const auto store = storage::store();
    const auto select = [&store](const QString& sql) {
        QSqlQuery query = store->prepared(sql);
        return store->rows(query);
    };
    QStringList known;
    for (const storage::StoredTable& table : storage::storedTables()) {
        known.append(table.name);
        if (table.name.startsWith(u"sqlite_"_s))
            continue;
        QStringList columns;
        QByteArray form;
        for (const QVariantList& column :
             select(u"SELECT name, type, \"notnull\", pk FROM pragma_table_info('%1')"_s.arg(table.name))) {
            columns.append(column[0].toString());
            const QString type = column[1].toString();
            const bool isRowid = type == u"INTEGER"_s && column[3].toInt() == 1;
            const char letter = static_cast<char>(type.at(0).toLower().toLatin1());
            const bool mayBeNull = column[2].toInt() == 0 && column[3].toInt() == 0;
            form.append(isRowid ? 'k' : mayBeNull ? static_cast<char>(std::toupper(letter)) : letter);
        }
        if (columns.isEmpty())
            continue; // a store of this version has none
        EXPECT_EQ(table.columns, columns) << table.name.toStdString();
        EXPECT_EQ(table.form, form) << table.name.toStdString();
    }
    for (const QVariantList& table : select(u"SELECT name FROM sqlite_master WHERE type = 'table'"_s))
        EXPECT_TRUE(known.contains(table[0].toString())) << table[0].toString().toStdString();
}

} // namespace

} // namespace rescuetest
