#include "client/hostobjects.h"
#include "host/core/session.h"
#include "host/storage/documents.h"
#include "host/utils/config.h"
#include "host/utils/serder.h"
#include "plugin/kyrloyalty.h"

using namespace Qt::StringLiterals;

namespace {

// Keys under which the state travels with the document.
namespace plugindata {
const QString bonusImpacts = u"bonusImpacts"_s;
const QString pointsForSpend = u"pointsForSpend"_s;
} // namespace plugindata

} // namespace

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
    document->setPluginData(pluginName(), plugindata::bonusImpacts, impacts);
    document->setPluginData(pluginName(), plugindata::pointsForSpend, m_pointsForSpend);
    MockFactory<SaveToFileLogic>::create()->save(document, {});
}

// From the watched document, not the session's: the host hands over the reopened receipt before it asks.
bool KyrLoyalty::restoreLoyaltySystem()
{
    const auto document = watchedDocument();
    const auto stored = [&](const QString& key) {
        return document ? document->getPluginData(pluginName(), key, {}) : QVariant();
    };
    m_pointsForSpend = stored(plugindata::pointsForSpend).toDouble();
    QList<QSharedPointer<BonusImpact>> impacts;
    const QVariantList written = stored(plugindata::bonusImpacts).toList();
    for (const QVariant& impact : written) {
        impacts.append(impact.isNull() ? nullptr
                                       : QSharedPointer<BonusImpact>::create(
                                             serder::default_serder_type<BonusImpact>::deserialize(impact)));
    }
    m_bonusImpacts = impacts; // only now: one that can't be read leaves the old ones in place
    return true;
}

void KyrLoyalty::logFailure(const KyrLoyaltyException& failure) const { logger->error(failure.tr().ru()); }

QString KyrLoyalty::pluginName() const { return QString::fromLatin1(metaObject()->className()); }
