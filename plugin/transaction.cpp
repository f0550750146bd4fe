#include "client/receipt.h"
#include "plugin/kyrloyalty.h"

using namespace Qt::StringLiterals;

bool KyrLoyalty::request(const QSharedPointer<AbstractDocument>& document)
{
    logger->info(u"Запрос к бонусной системе KYRLoyalty"_s);
    return guarded([&] {
        if (receipt::cardRecord(*document)->getCardStatus() == ECard::RegistrationIncomplete) {
            logger->warn(u"Невозможно списать бонусы. Регистрация пользователя не завершена"_s);
            return;
        }
        m_pointsForSpend = client->prePayment(0.0).first;
        updatePluginData();
        logger->info(u"Запрос выполнен"_s);
    });
}

bool KyrLoyalty::commit(const QSharedPointer<AbstractDocument>& document)
{
    logger->info(u"Подтверждение операций бонусной системы"_s);
    return guarded([&] {
        if (document->getDocumentType() == ReturnReceipt)
            client->refusePayment();
        clearLoyaltyData();
        logger->info(u"Запрос выполнен"_s);
    });
}

bool KyrLoyalty::rollback(const QSharedPointer<AbstractDocument>& document)
{
    logger->info(u"Отмена операций бонусной системы"_s);
    if (document->hasCardRecord(KyrLoyaltySystem)) {
        try {
            client->cancel(true);
        } catch (const KyrLoyaltyException& failure) {
            // The receipt is gone either way, so this is no failure to show: the cancellation goes later.
            logFailure(failure);
            client->cancel(false);
        }
    }
    if (const auto card = document->getCardRecord(KyrLoyaltySystem))
        card->setPointsForEarn(QVariant());
    clearLoyaltyData();
    updatePluginData();
    logger->info(u"Операции бонусной системы отменены"_s);
    return true;
}

bool KyrLoyalty::cancel()
{
    logger->info(u"Сброс состояния бонусной системы"_s);
    clearLoyaltyData();
    updatePluginData();
    return true;
}
