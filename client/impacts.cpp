#include "client/kyrloyaltyinterface.h"
#include "client/receipt.h"
#include "client/servicecontract.h"

using namespace Qt::StringLiterals;

QSharedPointer<BonusImpact> KyrLoyaltyInterface::prepareBonusImpact(const QList<QVariant>& positions,
                                                                    double total) const
{
    const auto card = receipt::cardRecord(*receipt::current());
    auto detail = QSharedPointer<DocumentImpactDetail>::create();
    detail->setCardRecord(card);
    detail->setCardIndex(card->getCodeInternal());
    detail->setDateTime(receipt::now());
    detail->setDiscountType(EDiscountType::Bonus);
    detail->setDiscountMode(EDiscountMode::Sum);
    detail->setDiscountName(u"Баллы KYRLoyalty"_s);
    detail->setDiscountObject(EDiscountObject::Document);
    detail->setDiscountRate(total);
    detail->setDiscountSum(total);
    detail->setImpactSource(EImpactSource::LoyaltySystem);
    detail->setMinPriceIgnored(true);

    auto impact = QSharedPointer<BonusImpact>::create(detail);
    for (const QVariant& position : positions) {
        // The share is the service's own, in its unit: unlike the total it is not converted.
        const QVariantMap share = position.toMap();
        impact->addDetailForPosition(share.value(keys::position).toInt(),
                                     share.value(u"discount_bonus"_s).toDouble());
    }
    return impact;
}

DocumentBonusRecord KyrLoyaltyInterface::prepareBonusRecord(double amount) const
{
    constexpr int loyaltyBonus = 1200; // the host's code for this kind of record
    DocumentBonusRecord record;
    record.cardNumber = receipt::cardRecord(*receipt::current())->getNumber().toString();
    record.amount = amount;
    record.code = loyaltyBonus;
    record.dateTime = receipt::now();
    record.sessionText = receipt::shopCode();
    return record;
}
