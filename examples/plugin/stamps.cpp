#include "stamps.h"

#include "host/storage/datadirectory.h"
#include "host/utils/money.h"
#include "host/utils/serder.h"

#include <QSettings>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace {

using Impacts = serder::default_serder_type<BonusImpact>;

const QString pluginName = u"Stamps"_s;
const QString spentKey = u"spent"_s;
constexpr double welcomeGift = 50;
constexpr double partToSpend = 0.5;
constexpr double partToEarn = 0.05;

double balanceOf(const QString& card)
{
    return QSettings(storage::dataFile(u"stamps.ini"_s), QSettings::IniFormat)
        .value(card, welcomeGift)
        .toDouble();
}

} // namespace

Stamps::Stamps() { m_type = static_cast<LoyaltySystemType>(99); } // the host gives out the numbers

bool Stamps::identifyByCard(QSharedPointer<DocumentCardRecord>& card, ECardNumberType /*type*/)
{
    const QString number = card->getNumber().toString();
    if (number.isEmpty()) {
        m_lastError = tr::Tr(u"stampsNoNumber"_s, u"Номер карты не указан"_s);
        return false;
    }
    card->setCardStatus(ECard::Active);
    card->setBonusBalance(balanceOf(number));
    return true;
}

bool Stamps::request(const QSharedPointer<AbstractDocument>& document)
{
    m_pointsForSpend = std::min(balance(), utils::roundToHundredths(document->getSum() * partToSpend));
    return true;
}

double Stamps::getPointsForSpend(const QSharedPointer<AbstractDocument>& document)
{
    m_pointsForSpend = std::min({m_pointsForSpend, balance(), document->getSum()});
    return m_pointsForSpend;
}

bool Stamps::spendPoints()
{
    const auto document = watchedDocument();
    const auto totals = QSharedPointer<DocumentImpactDetail>::create();
    totals->setDiscountType(EDiscountType::Bonus);
    totals->setDiscountSum(m_pointsForSpend);
    const auto impact = QSharedPointer<BonusImpact>::create(totals);
    double left = m_pointsForSpend; // goes to the first positions, as far as they cost something
    for (const auto& item : document->getGoodsItems()) {
        const double sum = std::min(left, item->getSumb());
        if (sum > 0)
            impact->addDetailForPosition(item->getPosnum(), sum);
        left = utils::roundToHundredths(left - sum);
    }
    m_bonusImpacts.append(impact);
    // What is needed after a restart travels with the document, which the host saves.
    document->setPluginData(pluginName, spentKey, Impacts::serialize(*impact));
    addToBalance(-m_pointsForSpend);
    return true;
}

bool Stamps::hasPointsForEarn()
{
    DocumentBonusRecord record;
    record.cardNumber = getCard()->getNumber().toString();
    record.amount = utils::roundToHundredths(watchedDocument()->getSum() * partToEarn);
    m_bonusRecords = distributeBonusRecord(watchedDocument(), record);
    return !m_bonusRecords.isEmpty();
}

bool Stamps::commit(const QSharedPointer<AbstractDocument>& document)
{
    addToBalance(getPointsForEarn());
    return BasicLoyaltySystem::commit(document);
}

bool Stamps::rollback(const QSharedPointer<AbstractDocument>& document)
{
    for (const auto& impact : m_bonusImpacts)
        addToBalance(impact->getTotals()->getDiscountSum());
    document->setPluginData(pluginName, spentKey, {});
    return BasicLoyaltySystem::rollback(document);
}

bool Stamps::restoreLoyaltySystem()
{
    clearLoyaltyData();
    const QVariant spent = watchedDocument()->getPluginData(pluginName, spentKey, {});
    if (spent.isValid())
        m_bonusImpacts.append(QSharedPointer<BonusImpact>::create(Impacts::deserialize(spent)));
    return true;
}

double Stamps::balance() const { return balanceOf(getCard()->getNumber().toString()); }

void Stamps::addToBalance(double points) const
{
    const QString number = getCard()->getNumber().toString();
    QSettings(storage::dataFile(u"stamps.ini"_s), QSettings::IniFormat)
        .setValue(number, utils::roundToHundredths(balanceOf(number) + points));
}
