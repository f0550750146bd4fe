#include "host/storage/storedtables.h"

#include "host/storage/documentcodec.h"
#include "host/storage/storageerror.h"
#include "host/storage/storedform.h"

#include <QCryptographicHash>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace storage {

namespace {

constexpr Seal messageSeal{0x4B59526D, 1}; // "KYRm"

bool fits(char letter, const QVariant& value)
{
    switch (letter) {
    case 't':
        return value.typeId() == QMetaType::QString;
    case 'i':
        return value.typeId() == QMetaType::LongLong;
    case 'b':
        return value.typeId() == QMetaType::QByteArray;
    case 'T':
        return !value.isValid() || fits('t', value);
    case 'I':
        return !value.isValid() || fits('i', value);
    case 'B':
        return !value.isValid() || fits('b', value);
    default:
        return !value.isValid();
    }
}

bool fits(const StoredTable& table, const QVariantList& values)
{
    if (values.size() != table.form.size())
        return false;
    for (qsizetype i = 0; i < values.size(); ++i) {
        if (!fits(table.form[i], values[i]))
            return false;
    }
    return true;
}

const QString damagedContent = u"its content is damaged"_s;
const QString laterContent = u"a later version has written it"_s;
const QString otherContent = u"what stands beside its content does not belong to it"_s;
const QString impossible = u"it says what cannot be"_s;

template <class Read>
QString faultOfContent(Read isRight)
{
    try {
        return isRight() ? QString() : otherContent;
    } catch (const BasicException& failure) {
        return isFault(failure, StorageFault::Newer) ? laterContent : damagedContent;
    }
}

QString faultOfDocument(const QVariantList& row)
{
    return faultOfContent([&row] {
        const auto document = documentcodec::readDocument(row[2].toByteArray(), {});
        return document->getIdentifier() == row[0].toString() &&
               document->getSaleDocumentId().toString() == row[3].toString();
    });
}

QString faultOfCardRecord(const QVariantList& row)
{
    return faultOfContent([&row] {
        return documentcodec::readCardRecord(row[3].toByteArray(), {})->getKind() == row[1].toInt();
    });
}

QString faultOfMessage(const QByteArray& bytes)
{
    switch (unsealed(messageSeal, bytes).state) {
    case Unsealed::Whole:
        return {};
    case Unsealed::Newer:
        return laterContent;
    case Unsealed::Damaged:
        break;
    }
    return damagedContent;
}

bool isFlag(const QVariant& value) { return value == 0 || value == 1; }

QString faultOfQueued(const QVariantList& row)
{
    const bool possible = isFlag(row[6]) && isFlag(row[10]) && row[7].toLongLong() >= 0;
    return possible ? faultOfMessage(row[4].toByteArray()) : impossible;
}

QString faultOfHistory(const QVariantList& row)
{
    const bool dropped = row[8] == u"dropped"_s;
    if ((!dropped && row[8] != u"delivered"_s) || row[6].toLongLong() < 0 || dropped == row[9].isValid())
        return impossible;
    return row[10].isValid() ? faultOfMessage(row[10].toByteArray()) : QString();
}

QString faultOfEntry(const QVariantList& row)
{
    static const QStringList events{u"opened"_s,      u"request"_s,   u"answer"_s, u"queued"_s,
                                    u"attempt"_s,     u"delivered"_s, u"parked"_s, u"retried"_s,
                                    u"readdressed"_s, u"dropped"_s,   u"closed"_s, u"abandoned"_s,
                                    u"recovered"_s,   u"unknown"_s};
    return events.contains(row[3].toString()) && row[5].toLongLong() >= 0 && row[8].toLongLong() >= 0
               ? QString()
               : impossible;
}

QByteArray identityOf(const QVariantList& values)
{
    QByteArray told;
    for (const QVariant& value : values)
        told += value.toString().toUtf8() + '\0';
    return QCryptographicHash::hash(told, QCryptographicHash::Sha1);
}

} // namespace

const QList<StoredTable>& storedTables()
{
    static const QList<StoredTable> tables{
        {u"documents"_s, {u"identifier"_s, u"stored"_s, u"content"_s, u"sale"_s}, "tibt", true},
        {u"card_records"_s, {u"document"_s, u"kind"_s, u"revision"_s, u"content"_s}, "tiib", true},
        {u"queued"_s,
         {u"id"_s, u"queue"_s, u"receipt"_s, u"enqueued"_s, u"message"_s, u"text"_s, u"parked"_s,
          u"attempts"_s, u"error"_s, u"due"_s, u"head"_s},
         "kttibtiitii",
         true},
        {u"history"_s,
         {u"id"_s, u"queue"_s, u"receipt"_s, u"enqueued"_s, u"finished"_s, u"text"_s, u"attempts"_s,
          u"error"_s, u"outcome"_s, u"answer"_s, u"message"_s},
         "kttiititt"
         "IB",
         true},
        {u"journal"_s,
         {u"id"_s, u"time"_s, u"receipt"_s, u"event"_s, u"operation"_s, u"message"_s, u"code"_s, u"detail"_s,
          u"milliseconds"_s},
         "kitttiiti",
         true},
        {u"open_receipt"_s, {u"slot"_s, u"content"_s}, "kb", true},
        {u"tally"_s,
         {u"waiting"_s, u"parked"_s, u"delivered"_s, u"error"_s, u"refused"_s, u"probes"_s, u"probe"_s},
         "iiitiii",
         false},
        {u"clock"_s, {u"seen"_s, u"doubted"_s}, "ii", false},
        {u"sqlite_master"_s, {u"type"_s, u"name"_s, u"tbl_name"_s, u"rootpage"_s, u"sql"_s}, "tttiT", false},
        {u"sqlite_sequence"_s, {u"name"_s, u"seq"_s}, "ti", false},
    };
    return tables;
}

const StoredTable* tableOfRow(const QVariantList& values)
{
    const QList<StoredTable>& tables = storedTables();
    const auto found = std::find_if(tables.cbegin(), tables.cend(),
                                    [&values](const StoredTable& table) { return fits(table, values); });
    return found == tables.cend() ? nullptr : &*found;
}

QString faultOfRow(const QString& table, const QVariantList& values)
{
    if (table == u"documents")
        return faultOfDocument(values);
    if (table == u"card_records")
        return faultOfCardRecord(values);
    if (table == u"queued")
        return faultOfQueued(values);
    if (table == u"history")
        return faultOfHistory(values);
    if (table == u"journal")
        return faultOfEntry(values);
    if (table == u"open_receipt")
        return faultOfContent([&values] {
            documentcodec::readDocument(values[1].toByteArray(), {});
            return true;
        });
    return {};
}

QByteArray messageIdentity(const QVariant& queue, const QVariant& receipt, const QVariant& enqueued,
                           const QVariant& text)
{
    return identityOf({queue, receipt, enqueued, text});
}

QByteArray identityOfRow(const QString& table, const QVariantList& values)
{
    if (table == u"documents")
        return identityOf({values.value(0)});
    if (table == u"card_records")
        return identityOf({values.value(0), values.value(1)});
    if (table == u"queued" || table == u"history")
        return messageIdentity(values.value(1), values.value(2), values.value(3), values.value(5));
    if (table == u"journal") { // but for the message's number, which another store changes
        QVariantList said = values;
        said.removeAt(5);
        return identityOf(said);
    }
    return {};
}

} // namespace storage
