#include "client/hostobjects.h"
#include "host/core/session.h"
#include "host/core/storage.h"
#include "host/utils/config.h"
#include "host/utils/serder.h"
#include "plugin/kyrloyalty.h"

using namespace Qt::StringLiterals;

KyrLoyalty::KyrLoyalty()
    : logger(utils::logger(u"kyrloyalty"_s, {}))
    , client(new KyrLoyaltyInterface)
{
    m_type = KyrLoyaltySystem;
    setOption(LoyaltySystemOption::PointsAsDiscount, true);
    setOption(LoyaltySystemOption::SearchByPhone, true);
}

bool KyrLoyalty::init()
{
    smsVerification = hostObject<Config>().getBool(u"KYRLoyalty:smsVerification"_s, false);
    hostObject<ActivityNotifier>().subscribe(this);
    return client->init() && registerLoyaltySystem();
}

void KyrLoyalty::handleEvent(const Event& event)
{
    const auto document = hostObject<Session>().getDocument();
    if (!document || event.getCode() != EActivityListener::ReceiptClosed)
        return;
    try {
        if (!document->isFlagSet(LoyaltyCardPresented))
            client->anonymousReceipt();
    } catch (const KyrLoyaltyException& failure) {
        logFailure(failure); // the receipt is closed: there is no operation that could report a last error
    }
}

void KyrLoyalty::updatePluginData() const
{
    const auto document = hostObject<Session>().getDocument();
    if (!document)
        return; // between receipts there is nothing that the state could travel with
    QVariantList impacts;
    impacts.reserve(m_bonusImpacts.size());
    for (const auto& impact : m_bonusImpacts) {
        // An empty place stays one, so that the list keeps its length.
        impacts.append(impact ? serder::default_serder_type<BonusImpact>::serialize(*impact) : QVariant());
    }
    const QString pluginName = QString::fromLatin1(metaObject()->className());
    document->setPluginData(pluginName, u"bonusImpacts"_s, impacts);
    document->setPluginData(pluginName, u"pointsForSpend"_s, m_pointsForSpend);
    MockFactory<SaveToFileLogic>::create()->save(document, {});
}

void KyrLoyalty::logFailure(const KyrLoyaltyException& failure) const { logger->error(failure.tr().ru()); }
