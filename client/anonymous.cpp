#include "client/hostobjects.h"
#include "client/kyrloyaltyinterface.h"
#include "client/receipt.h"
#include "client/servicecontract.h"
#include "client/texts.h"
#include "host/storage/documents.h"
#include "plugin/kyrloyaltyexception.h"

#include <cmath>

using namespace Qt::StringLiterals;

namespace {

QVariantMap anonymousReceiptOf(const std::vector<json::Object>& positions, double amount)
{
    // Unlike a receipt with a card, a nested array.
    return {{keys::receiptDetails, json::document(positions)}, {keys::receiptAmount, amount}};
}

QSharedPointer<AbstractDocument> saleOf(const AbstractDocument& document)
{
    return hostObject<DocumentsDao>().loadDocument(document.getSaleDocumentId(), false);
}

QSharedPointer<AbstractDocument> loadedSaleOf(const AbstractDocument& document)
{
    auto sale = saleOf(document);
    if (!sale)
        throw KyrLoyaltyException(texts::saleNotLoaded());
    return sale;
}

} // namespace

void KyrLoyaltyInterface::anonymousReceipt() const
{
    logger->info(u"Операция для незарегистрированного пользователя "_s);
    const auto document = receipt::current();
    if (document->getDocumentType() == SaleReceipt) {
        sendAnonymousCheck(u"sale"_s);
    } else if (document->getDocumentType() == ReturnReceipt) {
        const double difference = document->getSum() - loadedSaleOf(*document)->getSum();
        // Not !isZero(): totals that are no numbers do not differ.
        if (std::abs(difference) >= receipt::leastMoney) {
            sendAnonymousCheck(u"backfull"_s);
            sendAnonymousCheck(u"salepartial"_s);
        } else {
            sendAnonymousCheck(u"back"_s);
        }
    } else {
        logger->info(u"Не поддерживаемый тип чека "_s);
    }
}

void KyrLoyaltyInterface::sendAnonymousCheck(const QString& type) const
{
    const auto document = receipt::current();
    QVariantMap body;
    if (type == u"salepartial")
        body = makeAnonymousDocumentPartial();
    else
        body = makeAnonymousDocument(type == u"backfull" ? saleOf(*document) : document);

    const bool isReturn = type.startsWith(u"back");
    body.insert(keys::branchId, receipt::shopCode());
    body.insert(keys::receiptDescription, u"Операция для незарегистрированного пользователя"_s);
    body.insert(keys::receiptNumber, isReturn ? document->getReturnIdentifier() : document->getIdentifier());
    body.insert(keys::receiptDatetime, receipt::nowInSeconds());
    for (const QString& unused : {keys::operatorId, keys::terminalId, u"session_id"_s, u"user_type"_s})
        body.insert(unused, QVariant());
    body.insert(u"\u0441anceled"_s, isReturn ? 1 : 0); // the service's key begins with a Cyrillic letter
    enqueue(isReturn ? u"PUT"_s : u"POST"_s, paths::receipt, body);
}

QVariantMap KyrLoyaltyInterface::makeAnonymousDocument(const QSharedPointer<AbstractDocument>& document) const
{
    if (!document)
        throw KyrLoyaltyException(texts::saleNotLoaded());
    const auto [positions, amount] = receipt::listing(*document, false);
    return anonymousReceiptOf(positions, amount);
}

QVariantMap KyrLoyaltyInterface::makeAnonymousDocumentPartial() const
{
    const auto document = receipt::current();
    const auto sale = loadedSaleOf(*document);
    std::vector<json::Object> positions;
    double amount = 0;
    const auto items = sale->getGoodsItems();
    for (const auto& sold : items) {
        const auto returned = document->getGoodsItemByPosnum(sold->getPosnum());
        if (returned && receipt::isZero(returned->getSumb() - sold->getSumb()))
            continue; // returned whole
        if (!receipt::isListed(*sold))
            continue;
        const double quantity = sold->getBquant() - (returned ? returned->getBquant() : 0);
        const double sum = sold->getSumb() - (returned ? returned->getSumb() : 0);
        positions.push_back(receipt::position(*sold, quantity, sum));
        amount += sold->getSumb(); // the whole position, though only the rest is listed: the service's way
    }
    return anonymousReceiptOf(positions, amount);
}
