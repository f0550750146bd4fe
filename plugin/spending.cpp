#include "client/hostobjects.h"
#include "client/receipt.h"
#include "client/texts.h"
#include "host/core/dialog.h"
#include "plugin/kyrloyalty.h"

#include <cmath>

using namespace Qt::StringLiterals;

namespace {

// An amount equal to the other, or one that is not a number, gives way to it.
double smaller(double earlier, double later) { return earlier < later ? earlier : later; }

// Cut toward zero; what has no whole number is written as the word that it is, "nan" or "inf".
QString wholeNumber(double points) { return QString::number(std::trunc(points) + 0.0, 'f', 0); }

} // namespace

double KyrLoyalty::getPointsForSpend(const QSharedPointer<AbstractDocument>& document)
{
    logger->debug(pointsMessage());
    const auto card = getCard();
    if (!card)
        throw KyrLoyaltyException(texts::cardRecordMissing());
    // There and back again puts points on the grid of money that can be charged.
    const auto chargeable = [this](double points) {
        return client->moneyToBonus(client->bonusToMoney(points));
    };
    const double wanted = chargeable(m_pointsForSpend);
    const double balance = chargeable(card->getBonusBalance().toDouble());
    const double receiptSum = client->moneyToBonus(document->getSum());
    m_pointsForSpend = smaller(smaller(wanted, balance), receiptSum);
    return m_pointsForSpend;
}

bool KyrLoyalty::spendPoints()
{
    const double points = m_pointsForSpend;
    logger->info(u"Создание оплаты бонусами в виде скидки на сумму %1, по карте %2"_s.arg(
        wholeNumber(points), watchedCard()->getNumber().toString()));

    return guarded([&] {
        // The limit that comes with the record was applied when the points for spend were asked for.
        const DocumentBonusRecord record = client->prePayment(points).second;
        const auto impact = smsVerification ? confirmedPayment(points) : client->forcePayment(points);

        // Nothing was changed up to here, so a failed request leaves no trace.
        m_bonusRecords = distributeBonusRecord(watchedDocument(), record);
        watchedCard()->setPointsForEarn(getPointsForEarn());
        m_bonusImpacts.append(impact);
        m_pointsForSpend = impact->getTotals()->getDiscountSum(); // from now on money, as the host has it
        updatePluginData();
        watchedCard()->setPointsForSpend(m_pointsForSpend);
    });
}

QSharedPointer<BonusImpact> KyrLoyalty::confirmedPayment(double points)
{
    const int approveId = client->payment(points);

    auto& notifier = hostObject<ActivityNotifier>();
    notifier.notify(Event(EActivityListener::BeforeModalDialog));
    TextInputRequest request({u"kyrSpendTitle"_s, u"Подтверждение списания"_s},
                             {u"kyrSpendMessage"_s, u"Введите код подтверждения"_s});
    request.inputKind = TextInputRequest::Digits;
    request.emptyAllowed = false;
    request.formName = u"inputKyrConfirmCode"_s;
    const auto code = MockFactory<Dialog>::create()->inputText(request);
    if (code.canceled())
        throw KyrLoyaltyException(tr::Tr(u"kyrSpendCancelInput"_s, u"Пользователь отменил ввод кода"_s));

    Event processing(EActivityListener::ProcessMessage);
    processing.addArgument(u"message"_s,
                           tr::Tr(u"processLoyaltyMessage"_s, u"Обращение к системе лояльности"_s));
    notifier.notify(processing);
    return client->confirmPayment(approveId, code.getData(), points); // as entered: the service decides
}

QSharedPointer<DocumentCardRecord> KyrLoyalty::watchedCard() const
{
    const auto document = watchedDocument();
    if (!document)
        throw KyrLoyaltyException(texts::documentMissing());
    return receipt::cardRecord(*document);
}
