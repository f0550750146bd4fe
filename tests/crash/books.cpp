#include "tests/crash/books.h"

#include "host/network/restclient.h"
#include "host/queue/messagequeue.h"
#include "host/storage/datadirectory.h"
#include "host/storage/documents.h"
#include "till/audit/reconciliation.h"

#include <QJsonDocument>
#include <QJsonObject>

#include <stdexcept>

using namespace Qt::StringLiterals;

namespace crashtest {

namespace {

QVariantMap page(const QString& standUrl, const QString& name)
{
    RestClient client;
    client.get(QUrl(standUrl + u"stand/"_s + name), {}, {});
    if (client.getErrorCode() != 0)
        throw std::runtime_error("the stand cannot be read");
    return client.getResponse().toMap();
}

QString operationLine(const QVariantMap& operation, const QHash<qlonglong, QString>& known)
{
    const auto text = [&operation](const QString& name) { return operation.value(name).toString(); };
    QString line = u"%1 of %2 by card %3: %4"_s.arg(text(u"operation"_s), text(u"check_identifier"_s),
                                                    text(u"card"_s), text(u"points"_s));
    if (operation.contains(u"root"_s))
        line += u" <- "_s + known.value(operation.value(u"root"_s).toLongLong(), u"nothing"_s);
    return line;
}

} // namespace

QStringList booksOf(const QString& standUrl)
{
    const QVariantMap ledger = page(standUrl, u"ledger"_s);
    QStringList lines;
    QHash<qlonglong, QString> known;
    for (const QVariant& entry : ledger.value(u"operations"_s).toList()) {
        const QVariantMap operation = entry.toMap();
        const QString line = operationLine(operation, known);
        known.insert(operation.value(u"n"_s).toLongLong(), line);
        lines.append(line);
    }
    for (const QVariant& entry : ledger.value(u"accounts"_s).toList()) {
        const QVariantMap account = entry.toMap();
        lines.append(u"balance of %1 %2: %3"_s.arg(account.value(u"kind"_s).toString(),
                                                   account.value(u"card"_s).toString(),
                                                   account.value(u"balance"_s).toString()));
    }
    for (const QVariant& entry : ledger.value(u"anonymous"_s).toList()) {
        const QVariantMap receipt = entry.toMap();
        lines.append(u"anonymous %1 %2 %3"_s.arg(receipt.value(u"method"_s).toString(),
                                                 receipt.value(u"receipt_number"_s).toString(),
                                                 receipt.value(u"receipt_amount"_s).toString()));
    }
    lines += page(standUrl, u"invariants"_s).value(u"violations"_s).toStringList();
    lines.sort();
    return lines;
}

QStringList differences(const QString& dataDirectory, const QString& standUrl)
{
    storage::setDataDirectory(dataDirectory);
    const till::Ledger ledger(page(standUrl, u"ledger"_s), {});
    DocumentsDao store;
    QStringList found;
    for (const QString& identifier : ledger.receipts()) {
        till::BookedReceipt booked{.document = store.loadDocument(identifier, false)};
        booked.closed = !booked.document.isNull();
        found += ledger.differences(identifier, booked);
    }
    const MessageQueue queue;
    if (const int left = queue.waitingCount() + queue.parkedCount(); left > 0)
        found.append(u"%1 messages are left in the queue"_s.arg(left));
    if (SaveToFileLogic::loadOpenReceipt())
        found.append(u"a receipt is left open"_s);
    return found;
}

} // namespace crashtest
