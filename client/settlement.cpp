#include "client/hostobjects.h"
#include "client/kyrloyaltyinterface.h"
#include "client/receipt.h"
#include "client/servicecontract.h"
#include "client/texts.h"
#include "host/storage/documents.h"
#include "plugin/kyrloyaltyexception.h"

using namespace Qt::StringLiterals;

DocumentBonusRecord KyrLoyaltyInterface::earnPoints(bool online) const
{
    QVariantMap body = makeCheck(false);
    const auto card = receipt::cardRecord(*receipt::current());
    body.insert(keys::receiptDescription, u"Начисление бонусов"_s);
    body.insert(keys::receiptNumber, getOperationId(card, operations::earn));
    if (!online) {
        logger->info(u"Начисление бонусных баллов в офлайн режиме"_s);
        enqueue(u"POST"_s, paths::earnPoints, body);
        return {};
    }
    logger->info(u"Начисление бонусных баллов"_s);
    const QVariantMap data = post(paths::earnPoints, body);
    auto record = prepareBonusRecord(bonusToMoney(data.value(u"paymentBonus"_s).toDouble()));
    logger->info(u"Начисление выполнено"_s);
    return record;
}

void KyrLoyaltyInterface::refusePayment() const
{
    logger->info(u"Частичная отмена транзакции начисления и списания бонусов по чеку"_s);
    const auto document = receipt::current();
    const auto sale = hostObject<DocumentsDao>().loadDocument(document->getSaleDocumentId(), false);
    if (!sale)
        throw KyrLoyaltyException(texts::returnNotPossible());
    const auto saleCard = receipt::cardRecord(*sale);

    const QDateTime now = receipt::now();
    sendMessageToQueue(saleCard, receipt::operationNumber(now, 0), false);
    double bonusImpact = 0;
    const auto items = document->getGoodsItems();
    for (const auto& item : items)
        bonusImpact += item->getBonusImpactSum();
    if (bonusImpact > receipt::leastMoney) // signed: only a positive bonus discount was a spending
        sendMessageToQueue(saleCard, receipt::operationNumber(now, 1), true);
    logger->info(u"Отмена выполнена"_s);
}

void KyrLoyaltyInterface::cancel(bool online) const
{
    const auto card = receipt::cardRecord(*receipt::current());
    const QString spending = getOperationId(card, operations::spend);
    const QVariantMap body{
        {keys::receiptDescription, u"Полная отмена списания/начисления бонусов"_s},
        // A refusal's number has no dash: the service's way.
        {keys::receiptNumber, QString(spending + u"-cancel"_s)},
        {u"receipt_to_cancel"_s, spending},
    };
    if (online) {
        logger->info(u"Полная отмена транзакции списания бонусов по чеку"_s);
        (void)post(paths::cancelPayment, body); // accepted is all there is to know
    } else {
        logger->info(u"Полная отмена транзакции списания бонусов по чеку в режиме офлайн"_s);
        enqueue(u"POST"_s, paths::cancelPayment, body);
    }
    card->setOperationId(QString());
    logger->info(u"Отмена выполнена"_s);
}
