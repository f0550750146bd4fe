#include "host/storage/storedtables.h"

#include "host/core/document.h"
#include "host/storage/documentcodec.h"
#include "host/storage/storedform.h"
#include "tests/support/hostworld.h"

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;
using storage::faultOfRow;
using storage::identityOfRow;

namespace {

const QString damagedContent = u"its content is damaged"_s;
const QString laterContent = u"a later version has written it"_s;
const QString otherContent = u"what stands beside its content does not belong to it"_s;
const QString impossible = u"it says what cannot be"_s;

const QVariant null;

QVariantList changed(QVariantList row, qsizetype at, const QVariant& value)
{
    row[at] = value;
    return row;
}

qint64 number(int value) { return value; }

/// Magic and version of its choice around nothing.
QByteArray sealedAs(quint32 magic, quint32 version, const QByteArray& content = QByteArray(4, '\0'))
{
    return storage::sealed({magic, version}, content);
}

constexpr quint32 documentMagic = 0x4B595264;
constexpr quint32 recordMagic = 0x4B595263;
constexpr quint32 messageMagic = 0x4B59526D;

QVariantList documentRow()
{
    Document document(ReturnReceipt, u"R"_s);
    document.setSaleDocumentId(u"S"_s);
    return {u"R"_s, number(5), documentcodec::written(document), u"S"_s};
}
QVariantList queuedRow()
{
    return {null,      u"q"_s, u"R"_s,    number(1), sealedAs(messageMagic, 1), u"text"_s, number(0),
            number(0), u""_s,  number(0), number(1)};
}
QVariantList deliveredRow()
{
    return {null,      u"q"_s, u"R"_s,         number(1), number(2), u"text"_s,
            number(0), u""_s,  u"delivered"_s, number(0), null};
}
QVariantList droppedRow()
{
    return {null,
            u"q"_s,
            u"R"_s,
            number(1),
            number(2),
            u"text"_s,
            number(0),
            u""_s,
            u"dropped"_s,
            null,
            sealedAs(messageMagic, 1)};
}
QVariantList journalRow()
{
    return {null, number(1), u"R"_s, u"attempt"_s, u"x"_s, number(3), number(-1), u""_s, number(0)};
}

} // namespace

TEST(StoredRows, OfAClosedReceiptAreOfTheReceiptInThem)
{
    EXPECT_EQ(faultOfRow(u"documents"_s, documentRow()), QString());
    EXPECT_EQ(faultOfRow(u"documents"_s, changed(documentRow(), 0, u"Q"_s)), otherContent);
    EXPECT_EQ(faultOfRow(u"documents"_s, changed(documentRow(), 3, u"T"_s)), otherContent);
    EXPECT_EQ(faultOfRow(u"documents"_s, changed(documentRow(), 3, u""_s)), otherContent);
    EXPECT_EQ(faultOfRow(u"documents"_s, changed(documentRow(), 2, "x"_ba)), damagedContent);
    EXPECT_EQ(faultOfRow(u"documents"_s, changed(documentRow(), 2, sealedAs(documentMagic, 2))),
              laterContent);
}

TEST(StoredRows, OfACardAreOfTheCardInThem)
{
    const DocumentCardRecord record(KyrLoyaltySystem, u"2000000000017"_s);
    const QVariantList row{u"R"_s, number(KyrLoyaltySystem), number(1), documentcodec::written(record)};
    EXPECT_EQ(faultOfRow(u"card_records"_s, row), QString());
    EXPECT_EQ(faultOfRow(u"card_records"_s, changed(row, 1, number(1))), otherContent);
    EXPECT_EQ(faultOfRow(u"card_records"_s, changed(row, 3, documentRow()[2])), damagedContent)
        << "another seal";
    EXPECT_EQ(faultOfRow(u"card_records"_s, changed(row, 3, sealedAs(recordMagic, 2))), laterContent);
}

TEST(StoredRows, OfTheOpenReceiptHaveAReceiptInThem)
{
    EXPECT_EQ(faultOfRow(u"open_receipt"_s, {null, documentRow()[2]}), QString());
    EXPECT_EQ(faultOfRow(u"open_receipt"_s, {null, "x"_ba}), damagedContent);
    EXPECT_EQ(faultOfRow(u"open_receipt"_s, {null, sealedAs(documentMagic, 2)}), laterContent);
}

TEST(StoredRows, OfTheQueueHaveFlagsCountsAndAMessage)
{
    constexpr qsizetype message = 4;
    constexpr qsizetype parked = 6;
    constexpr qsizetype attempts = 7;
    constexpr qsizetype head = 10;
    EXPECT_EQ(faultOfRow(u"queued"_s, queuedRow()), QString());
    EXPECT_EQ(faultOfRow(u"queued"_s, changed(queuedRow(), parked, number(1))), QString());
    EXPECT_EQ(faultOfRow(u"queued"_s, changed(queuedRow(), head, number(0))), QString());
    for (const qsizetype flag : {parked, head}) {
        EXPECT_EQ(faultOfRow(u"queued"_s, changed(queuedRow(), flag, number(2))), impossible);
        EXPECT_EQ(faultOfRow(u"queued"_s, changed(queuedRow(), flag, number(-1))), impossible);
    }
    EXPECT_EQ(faultOfRow(u"queued"_s, changed(queuedRow(), attempts, number(-1))), impossible);
    EXPECT_EQ(faultOfRow(u"queued"_s, changed(queuedRow(), message, "x"_ba)), damagedContent);
    EXPECT_EQ(faultOfRow(u"queued"_s, changed(queuedRow(), message, sealedAs(messageMagic, 2))),
              laterContent);
    EXPECT_EQ(faultOfRow(u"queued"_s, changed(queuedRow(), message, sealedAs(documentMagic, 1))),
              damagedContent);
}

TEST(StoredRows, OfTheHistoryHaveAnAnswerOrAMessageAsTheyWereDeliveredOrDropped)
{
    constexpr qsizetype attempts = 6;
    constexpr qsizetype outcome = 8;
    constexpr qsizetype answer = 9;
    constexpr qsizetype message = 10;
    EXPECT_EQ(faultOfRow(u"history"_s, deliveredRow()), QString());
    EXPECT_EQ(faultOfRow(u"history"_s, droppedRow()), QString());
    EXPECT_EQ(faultOfRow(u"history"_s, changed(deliveredRow(), outcome, u"lost"_s)), impossible);
    EXPECT_EQ(faultOfRow(u"history"_s, changed(droppedRow(), outcome, u"lost"_s)), impossible);
    EXPECT_EQ(faultOfRow(u"history"_s, changed(deliveredRow(), attempts, number(-1))), impossible);
    EXPECT_EQ(faultOfRow(u"history"_s, changed(deliveredRow(), answer, null)), impossible);
    EXPECT_EQ(faultOfRow(u"history"_s, changed(droppedRow(), answer, number(0))), impossible);
    EXPECT_EQ(faultOfRow(u"history"_s, changed(droppedRow(), message, "x"_ba)), damagedContent);
    EXPECT_EQ(faultOfRow(u"history"_s, changed(droppedRow(), message, null)), QString());
}

TEST(StoredRows, OfTheJournalTellOfSomethingThatHappens)
{
    EXPECT_EQ(faultOfRow(u"journal"_s, journalRow()), QString());
    for (const QString& event : {u"opened"_s, u"request"_s, u"answer"_s, u"queued"_s, u"attempt"_s,
                                 u"delivered"_s, u"parked"_s, u"retried"_s, u"readdressed"_s, u"dropped"_s,
                                 u"closed"_s, u"abandoned"_s, u"recovered"_s, u"unknown"_s})
        EXPECT_EQ(faultOfRow(u"journal"_s, changed(journalRow(), 3, event)), QString())
            << event.toStdString();
    EXPECT_EQ(faultOfRow(u"journal"_s, changed(journalRow(), 3, u"stolen"_s)), impossible);
    EXPECT_EQ(faultOfRow(u"journal"_s, changed(journalRow(), 5, number(-1))), impossible);
    EXPECT_EQ(faultOfRow(u"journal"_s, changed(journalRow(), 8, number(-1))), impossible);
}

TEST(StoredRows, OfTheOthersAreNotJudged)
{
    EXPECT_EQ(faultOfRow(u"clock"_s, {number(-1), number(-1)}), QString());
    EXPECT_EQ(identityOfRow(u"clock"_s, {number(1), number(2)}), QByteArray());
}

TEST(StoredRows, AreKnownByTheirForm)
{
    const auto tableOf = [](const QVariantList& row) {
        const storage::StoredTable* table = storage::tableOfRow(row);
        return table ? table->name.toStdString() : "none";
    };
    EXPECT_EQ(tableOf(documentRow()), "documents");
    EXPECT_EQ(tableOf({u"R"_s, number(12), number(1), "x"_ba}), "card_records");
    EXPECT_EQ(tableOf(queuedRow()), "queued");
    EXPECT_EQ(tableOf(deliveredRow()), "history");
    EXPECT_EQ(tableOf(droppedRow()), "history");
    EXPECT_EQ(tableOf(changed(deliveredRow(), 9, null)), "history");
    EXPECT_EQ(tableOf(changed(deliveredRow(), 9, u"0"_s)), "none") << "an answer is a number";
    EXPECT_EQ(tableOf(changed(droppedRow(), 10, u"0"_s)), "none") << "a message is bytes";
    EXPECT_EQ(tableOf(changed(queuedRow(), 0, number(1))), "none") << "its number is its rowid's";
    EXPECT_EQ(tableOf(journalRow()), "journal");
    EXPECT_EQ(tableOf({null, "x"_ba}), "open_receipt");
    EXPECT_EQ(tableOf({number(0), number(0), number(0), u""_s, number(0), number(0), number(0)}), "tally");
    EXPECT_EQ(tableOf({number(0), number(0)}), "clock");
    EXPECT_EQ(tableOf({u"queued"_s, number(7)}), "sqlite_sequence");
    EXPECT_EQ(tableOf({u"table"_s, u"t"_s, u"t"_s, number(2), u"CREATE TABLE t (x)"_s}), "sqlite_master");
    EXPECT_EQ(tableOf({u"index"_s, u"i"_s, u"t"_s, number(2), null}), "sqlite_master")
        << "one that SQLite made itself";
    EXPECT_EQ(tableOf({u"index"_s, u"i"_s, u"t"_s, number(2), number(1)}), "none");
    EXPECT_EQ(tableOf({}), "none");
    EXPECT_EQ(tableOf({u"R"_s}), "none");
    EXPECT_EQ(tableOf({u"R"_s, 0.5}), "none");
}

TEST(StoredRows, AreKnownAgainByWhatTellsThemFromAllOthers)
{
    const auto isKnown = [](const QString& table, const QVariantList& row, qsizetype at) {
        return identityOfRow(table, row) == identityOfRow(table, changed(row, at, u"another"_s));
    };
    const auto tells = [&](const QString& table, const QVariantList& row) {
        QList<int> columns;
        for (qsizetype at = 0; at < row.size(); ++at) {
            if (!isKnown(table, row, at))
                columns.append(static_cast<int>(at));
        }
        return columns;
    };
    EXPECT_EQ(tells(u"documents"_s, documentRow()), (QList<int>{0}));
    EXPECT_EQ(tells(u"card_records"_s, {u"R"_s, number(12), number(1), "x"_ba}), (QList<int>{0, 1}));
    EXPECT_EQ(tells(u"queued"_s, queuedRow()), (QList<int>{1, 2, 3, 5}));
    EXPECT_EQ(tells(u"history"_s, deliveredRow()), (QList<int>{1, 2, 3, 5}));
    EXPECT_EQ(tells(u"journal"_s, journalRow()), (QList<int>{0, 1, 2, 3, 4, 6, 7, 8}));
    EXPECT_EQ(identityOfRow(u"queued"_s, queuedRow()), identityOfRow(u"history"_s, deliveredRow()))
        << "wherever the message is";
    EXPECT_NE(identityOfRow(u"documents"_s, {u"ab"_s}), identityOfRow(u"documents"_s, {u"a"_s}));
    EXPECT_NE(identityOfRow(u"card_records"_s, {u"a"_s, u"bc"_s}),
              identityOfRow(u"card_records"_s, {u"ab"_s, u"c"_s}));
}
