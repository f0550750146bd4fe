#include "client/compactjson.h"
#include "client/hostobjects.h"
#include "client/kyrloyaltyinterface.h"
#include "client/receipt.h"
#include "client/servicecontract.h"
#include "host/queue/dbqueuebroker.h"
#include "host/storage/documents.h"

#include <QJsonDocument>
#include <QJsonObject>

using namespace Qt::StringLiterals;

namespace {

// Whatever is no JSON object counts as one without members.
QJsonObject operationIds(const DocumentCardRecord& record)
{
    return QJsonDocument::fromJson(record.getOperationId().toUtf8()).object();
}

} // namespace

QString KyrLoyaltyInterface::getOperationId(const QSharedPointer<DocumentCardRecord>& record,
                                            const QString& kind) const
{
    return operationIds(*record).value(kind).toString();
}

void KyrLoyaltyInterface::setOperationId(const QSharedPointer<DocumentCardRecord>& record,
                                         const QString& kind, const QString& id) const
{
    QJsonObject ids = operationIds(*record);
    ids.insert(kind, id);
    record->setOperationId(QString::fromUtf8(json::compact(ids.toVariantMap())));
}

void KyrLoyaltyInterface::sendMessageToQueue(const QSharedPointer<DocumentCardRecord>& record,
                                             const QString& receiptNumber, bool isSpend) const
{
    QVariantMap body = makeCheck(isSpend);
    const QString kind = isSpend ? operations::spend : operations::earn;
    const QString refused = getOperationId(record, kind);
    body.insert(keys::receiptBonusAmount, u"0"_s);
    body.insert(keys::receiptDescription,
                QString(u"Откорректированная "_s + receipt::current()->getIdentifier()));
    body.insert(keys::receiptNumber, receiptNumber);
    body.insert(u"receipt_to_refuse"_s, refused);
    body.insert(u"refuse_mode"_s, u"1"_s);
    body.insert(u"refuse_receipt_description"_s, QString(u"Отмена "_s + refused));
    body.insert(u"refuse_receipt_number"_s, QString(refused + u"refuse"_s)); // no dash: the service's way
    enqueue(u"POST"_s, paths::refusePayment, body);

    // From here on a later refusal refers to this one.
    setOperationId(record, kind, receiptNumber);
    hostObject<DocumentsDao>().saveCardRecord(record);
}

void KyrLoyaltyInterface::enqueue(const QString& method, const QString& path, const QVariantMap& body) const
{
    const QVariantMap message{
        {u"method"_s, method},
        {u"headers"_s, getHeadersMap()},
        {u"body"_s, json::compact(body)}, // the very bytes that will be sent
        {u"timeout"_s, timeout},
        {u"url"_s, QString(serverUrl + path)},
    };
    hostObject<DBQueueBroker>().enqueue(u"kyrloyalty"_s, message, {});
}
