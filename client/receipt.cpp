#include "client/receipt.h"

#include "client/hostobjects.h"
#include "client/kyrloyaltyinterface.h"
#include "client/servicecontract.h"
#include "client/texts.h"
#include "host/core/session.h"
#include "host/utils/currenttime.h"
#include "plugin/kyrloyaltyexception.h"

#include <cmath>

using namespace Qt::StringLiterals;

namespace receipt {

QSharedPointer<AbstractDocument> current()
{
    auto document = hostObject<Session>().getDocument();
    if (!document)
        throw KyrLoyaltyException(texts::documentMissing());
    return document;
}

QSharedPointer<DocumentCardRecord> cardRecord(const AbstractDocument& document)
{
    auto record = document.getCardRecord(KyrLoyaltySystem);
    if (!record)
        throw KyrLoyaltyException(texts::cardRecordMissing());
    return record;
}

QString shopCode() { return hostObject<Session>().getRegistry()->getShopCode(); }

QDateTime now() { return MockFactory<CurrentTime>::create()->currentDateTime(); }

QString nowInSeconds() { return QString::number(now().toSecsSinceEpoch()); }

QString operationNumber(const QDateTime& time, unsigned offset)
{
    return QString::number(static_cast<quint32>(time.toSecsSinceEpoch()) +
                           offset); // wraps, as the service does
}

bool isZero(double money) { return std::abs(money) < leastMoney; }

bool isListed(const GoodsItem& item) { return !isZero(item.getSumb() + item.getBonusImpactSum()); }

Listing listing(const AbstractDocument& document, bool addBonusImpact)
{
    Listing listing;
    const auto items = document.getGoodsItems();
    for (const auto& item : items) {
        if (!isListed(*item))
            continue;
        const double sum = addBonusImpact ? item->getSumb() + item->getBonusImpactSum() : item->getSumb();
        listing.positions.push_back(position(*item, item->getBquant(), sum));
        listing.amount += sum;
    }
    return listing;
}

json::Object position(const GoodsItem& item, double quantity, double sum)
{
    return {
        {keys::position, QString::number(item.getPosnum())},
        {u"prod_amount", quantity},
        {u"prod_cat", 0},
        {u"prod_code", item.getArticul()},
        {u"prod_name", item.getName(false)},
        {u"prod_price", item.getPrice()},
        {u"prod_sum", sum},
    };
}

QString points(double amount) { return QString::number(amount, 'f', 2); }

} // namespace receipt

QVariantMap KyrLoyaltyInterface::makeCheck(bool addBonusImpact) const
{
    const auto document = receipt::current();
    const auto card = receipt::cardRecord(*document);
    if (card->getOperationId().isEmpty()) {
        const QDateTime now = receipt::now();
        const QVariantMap ids{{operations::spend, receipt::operationNumber(now, 0)},
                              {operations::earn, receipt::operationNumber(now, 1)}};
        card->setOperationId(QString::fromUtf8(json::compact(ids)));
    }

    QVariantMap check{
        {u"card"_s, card->getNumber().toString()},
        {keys::branchId, receipt::shopCode()},
        {u"receipt_currency"_s, currencyName},
    };
    const auto [positions, amount] = receipt::listing(*document, addBonusImpact);
    check.insert(keys::receiptAmount, amount);
    // A text that holds JSON, not a nested array: so the service wants it.
    check.insert(keys::receiptDetails, QString::fromUtf8(json::compact(positions)));
    check.insert(keys::receiptDatetime, receipt::nowInSeconds());
    const double discount = document->getDiscountSum();
    check.insert(u"receipt_discount"_s,
                 receipt::isZero(discount) ? u"0"_s : QString::number(discount, 'f', 2));
    check.insert(u"check_identifier"_s, document->getIdentifier());
    check.insert(keys::operatorId, {});
    check.insert(keys::terminalId, {});
    return check;
}
