#include "host/core/basicloyaltysystem.h"

#include "host/core/loyaltysystems.h"
#include "host/utils/money.h"

#include <cmath>
#include <cstdint>
#include <numeric>

using namespace Qt::StringLiterals;

BasicPlugin::~BasicPlugin() = default;

DocumentWatcher::~DocumentWatcher() = default;

BasicLoyaltySystem::BasicLoyaltySystem() = default;

BasicLoyaltySystem::~BasicLoyaltySystem()
{
    if (Singleton<LoyaltySystems>::instance)
        Singleton<LoyaltySystems>::instance->remove(this);
}

bool BasicLoyaltySystem::init() { return registerLoyaltySystem(); }

bool BasicLoyaltySystem::identifyByCard(QSharedPointer<DocumentCardRecord>& /*card*/,
                                        ECardNumberType /*type*/)
{
    return refuse();
}

bool BasicLoyaltySystem::getCardInfo(QSharedPointer<DocumentCardRecord>& /*card*/, ECardNumberType /*type*/)
{
    return refuse();
}

bool BasicLoyaltySystem::request(const QSharedPointer<AbstractDocument>& /*document*/)
{
    return true; // nothing to ask: no points may be spent
}

bool BasicLoyaltySystem::commit(const QSharedPointer<AbstractDocument>& /*document*/)
{
    clearLoyaltyData();
    return true;
}

bool BasicLoyaltySystem::rollback(const QSharedPointer<AbstractDocument>& /*document*/)
{
    clearLoyaltyData();
    return true;
}

bool BasicLoyaltySystem::cancel()
{
    clearLoyaltyData();
    return true;
}

bool BasicLoyaltySystem::spendPoints() { return refuse(); }

double BasicLoyaltySystem::getPointsForSpend(const QSharedPointer<AbstractDocument>& /*document*/)
{
    return m_pointsForSpend;
}

bool BasicLoyaltySystem::hasPointsForEarn() { return !m_bonusRecords.isEmpty(); }

double BasicLoyaltySystem::getPointsForEarn()
{
    return std::accumulate(m_bonusRecords.cbegin(), m_bonusRecords.cend(), 0.0,
                           [](double sum, const DocumentBonusRecord& record) { return sum + record.amount; });
}

bool BasicLoyaltySystem::restoreLoyaltySystem() { return true; }

loyalty::CardNumberResult BasicLoyaltySystem::getCardNumber(const loyalty::CardNumberInputData& input)
{
    if (input.kind == loyalty::CardNumberInputData::CardNumber)
        return {.success = true, .cardNumber = input.text, .error = {}};
    return {.success = false,
            .cardNumber = {},
            .error = tr::Tr(u"loyaltyCardSearchNotSupported"_s,
                            u"Поиск карты по введенным данным не поддерживается"_s)};
}

void BasicLoyaltySystem::setOption(LoyaltySystemOption option, bool on)
{
    m_options.removeAll(option);
    if (on)
        m_options.append(option);
}

bool BasicLoyaltySystem::registerLoyaltySystem()
{
    if (!Singleton<LoyaltySystems>::instance)
        Singleton<LoyaltySystems>::instance = new LoyaltySystems;
    if (Singleton<LoyaltySystems>::instance->add(this))
        return true;
    m_lastError = tr::Tr(u"loyaltySystemAlreadyRegistered"_s, u"Система лояльности уже подключена"_s);
    return false;
}

void BasicLoyaltySystem::clearLoyaltyData()
{
    m_pointsForSpend = 0;
    m_bonusImpacts.clear();
    m_bonusRecords.clear();
}

QSharedPointer<DocumentCardRecord> BasicLoyaltySystem::getCard() const
{
    const auto document = watchedDocument();
    return document ? document->getCardRecord(m_type) : nullptr;
}

QString BasicLoyaltySystem::pointsMessage() const
{
    return u"Баллы к списанию: %1, скидок баллами: %2, записей о начислении: %3"_s.arg(
        QString::number(m_pointsForSpend, 'f', 2), QString::number(m_bonusImpacts.size()),
        QString::number(m_bonusRecords.size()));
}

QList<DocumentBonusRecord>
BasicLoyaltySystem::distributeBonusRecord(const QSharedPointer<AbstractDocument>& document,
                                          const DocumentBonusRecord& record) const
{
    const auto items = document->getGoodsItems();
    const auto amount = utils::toHundredths(record.amount);
    QList<std::int64_t> sums;
    for (const auto& item : items)
        sums.append(utils::toHundredths(item->getSumb()).value_or(0)); // what costs no amount gets no part
    const auto total = std::accumulate(sums.cbegin(), sums.cend(), std::int64_t(0));
    if (!amount || total == 0)
        return {};

    // Each part is what the running share has grown by: so the parts add up to the whole, and none is further
    // than a hundredth from its exact share.
    QList<DocumentBonusRecord> parts;
    const auto whole = static_cast<double>(*amount);
    std::int64_t sumSoFar = 0;
    std::int64_t amountSoFar = 0;
    for (qsizetype i = 0; i < items.size(); ++i) {
        sumSoFar += sums[i];
        const double share = static_cast<double>(sumSoFar) / static_cast<double>(total);
        const std::int64_t grown = std::llround(whole * share) - amountSoFar;
        amountSoFar += grown;
        if (grown == 0)
            continue;
        DocumentBonusRecord part = record;
        part.position = items[i]->getPosnum();
        part.amount = static_cast<double>(grown) / 100.0;
        parts.append(part);
    }
    return parts;
}

bool BasicLoyaltySystem::refuse()
{
    m_lastError =
        tr::Tr(u"loyaltyOperationNotSupported"_s, u"Операция не поддерживается системой лояльности"_s);
    return false;
}
