#include "till/admin/storetexts.h"

#include "till/audit/queuereport.h"
#include "till/cli/usageerror.h"

#include <QFileInfo>
#include <QJsonArray>

using namespace Qt::StringLiterals;

namespace till {

namespace {

qint64 rowsOf(const storage::StoreContents& contents, const QString& table)
{
    return contents.rows.value(table);
}

} // namespace

QString contentsText(const storage::StoreContents& contents)
{
    QString text =
        u"%1 closed receipts, %2 messages waiting, %3 parked, %4 in the history, %5 entries in the journal"_s
            .arg(rowsOf(contents, u"documents"_s))
            .arg(contents.waiting)
            .arg(contents.parked)
            .arg(rowsOf(contents, u"history"_s))
            .arg(rowsOf(contents, u"journal"_s));
    if (contents.newest.isValid())
        text += u", the last of "_s + timeText(contents.newest);
    if (!contents.openReceipt.isEmpty())
        text += u"; receipt %1 is open"_s.arg(contents.openReceipt);
    return text;
}

QJsonObject contentsJson(const storage::StoreContents& contents)
{
    QJsonArray damaged;
    for (const storage::DamagedSeal& seal : contents.damaged)
        damaged.append(QJsonObject{{u"table"_s, seal.table}, {u"key"_s, seal.key}});
    return {{u"receipts"_s, rowsOf(contents, u"documents"_s)},
            {u"openReceipt"_s, contents.openReceipt},
            {u"waiting"_s, contents.waiting},
            {u"parked"_s, contents.parked},
            {u"history"_s, rowsOf(contents, u"history"_s)},
            {u"journal"_s, rowsOf(contents, u"journal"_s)},
            {u"newest"_s, timeText(contents.newest)},
            {u"damaged"_s, damaged}};
}

QString rowText(const QString& table, const QString& key)
{
    static const QHash<QString, QString> names{{u"documents"_s, u"receipt"_s},
                                               {u"card_records"_s, u"the card written back to receipt"_s},
                                               {u"queued"_s, u"message"_s},
                                               {u"history"_s, u"the history's record of message"_s},
                                               {u"journal"_s, u"the journal's entry"_s},
                                               {u"open_receipt"_s, u"the open receipt"_s}};
    if (key.startsWith(u"page "_s))
        return u"%1 of %2"_s.arg(key, table);
    return QStringList{names.value(table, table), key}.join(u' ').trimmed();
}

QString existingFile(const QString& command, const QString& name)
{
    const QFileInfo file(name);
    if (!file.exists() && !file.isSymLink())
        throw UsageError(u"till: %1: there is no file %2"_s.arg(command, name));
    return file.absoluteFilePath();
}

} // namespace till
