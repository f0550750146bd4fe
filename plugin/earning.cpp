#include "client/receipt.h"
#include "plugin/kyrloyalty.h"

using namespace Qt::StringLiterals;

bool KyrLoyalty::hasPointsForEarn()
{
    logger->info(u"Запрос баллов для начисления"_s);
    const auto document = receipt::current();
    if (document->getDocumentType() != SaleReceipt) {
        logger->warn(u"Некорректный тип документа для начисления бонусов"_s);
        return false;
    }
    DocumentBonusRecord record;
    try {
        record = client->earnPoints(true);
    } catch (const KyrLoyaltyException& failure) {
        // The receipt is paid either way, so this is no failure to show: the earning goes later.
        logFailure(failure);
        (void)client->earnPoints(false); // what it earns is known when it is delivered
        return false;
    }
    m_bonusRecords = distributeBonusRecord(document, record);
    receipt::cardRecord(*document)->setPointsForEarn(getPointsForEarn());
    logger->info(u"Баллы получены"_s);
    return !m_bonusRecords.isEmpty();
}

double KyrLoyalty::getPointsForEarn()
{
    double points = 0;
    for (const DocumentBonusRecord& record : m_bonusRecords)
        points += record.amount;
    return points;
}
