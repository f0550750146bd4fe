#include "client/kyrloyaltyinterface.h"
#include "client/receipt.h"
#include "client/servicecontract.h"

using namespace Qt::StringLiterals;

namespace {

QVariantList recipients(const QVariantMap& data) { return listOf(data.value(u"newRecipientDetails"_s)); }

} // namespace

// What the three requests of a spending have in common; gives the answer's data.
QVariantMap KyrLoyaltyInterface::postSpending(const QString& path, double amount) const
{
    QVariantMap body = makeCheck(true);
    const auto card = receipt::cardRecord(*receipt::current());
    body.insert(keys::receiptDescription, u"Списание бонусов"_s);
    body.insert(keys::receiptBonusAmount, receipt::points(amount));
    body.insert(keys::receiptNumber, getOperationId(card, operations::spend));
    return post(path, body);
}

std::pair<double, DocumentBonusRecord> KyrLoyaltyInterface::prePayment(double amount) const
{
    logger->info(u"Запрос информации о ограничениях начислений и списаний"_s);
    const QVariantMap data = postSpending(paths::prePayment, amount);
    double allowed = 0;
    const QVariantList details = listOf(data.value(keys::receiptDetails));
    for (const QVariant& position : details) {
        const QVariantMap parameters = position.toMap().value(u"parameters"_s).toMap();
        allowed += parameters.value(u"max_payment_bonus"_s).toDouble();
    }
    const auto record = prepareBonusRecord(bonusToMoney(data.value(u"payment_bonus"_s).toDouble()));
    logger->info(u"Запрос выполнен"_s);
    return {allowed, record};
}

QSharedPointer<BonusImpact> KyrLoyaltyInterface::forcePayment(double amount) const
{
    logger->info(u"Списание бонусных баллов без подтверждения СМС-паролем"_s);
    const QVariantMap data = postSpending(paths::forcePayment, amount);
    logger->info(u"Списание выполнено"_s);
    return prepareBonusImpact(recipients(data), bonusToMoney(amount));
}

int KyrLoyaltyInterface::payment(double amount) const
{
    logger->info(u"Списание бонусных баллов с подтверждением СМС-паролем"_s);
    const QVariantMap data = postSpending(paths::payment, amount);
    logger->info(u"Запрос на списание выполнен"_s);
    return data.value(u"approve_id"_s).toInt();
}

QSharedPointer<BonusImpact> KyrLoyaltyInterface::confirmPayment(int approveId, const QString& code,
                                                                double amount) const
{
    logger->info(u"Подтверждение списания бонусных баллов"_s);
    const QVariantMap data = post(paths::confirmPayment, {{u"approve_id"_s, approveId}, {u"code"_s, code}});
    logger->info(u"Подтверждение выполнено"_s);
    return prepareBonusImpact(recipients(data), bonusToMoney(amount));
}
