#include "host/core/basicloyaltysystem.h"
#include "host/core/document.h"
#include "promise.h"

using namespace Qt::StringLiterals;

namespace {

constexpr auto anotherKind = static_cast<LoyaltySystemType>(4711);

/// Another loyalty system, to see what the base does by itself.
class Plain : public BasicLoyaltySystem
{
public:
    Plain() { m_type = anotherKind; }
    using BasicLoyaltySystem::clearLoyaltyData;
    using BasicLoyaltySystem::distributeBonusRecord;
    using BasicLoyaltySystem::getCard;
    using BasicLoyaltySystem::m_bonusImpacts;
    using BasicLoyaltySystem::m_bonusRecords;
    using BasicLoyaltySystem::m_lastError;
    using BasicLoyaltySystem::m_pointsForSpend;
    using BasicLoyaltySystem::registerLoyaltySystem;
    using BasicLoyaltySystem::setOption;
};

} // namespace

QList<Promise> loyaltySystem()
{
    return {
        {u"a loyalty system can register itself"_s, u"the plug-in does not start"_s,
         [] {
             Plain system;
             require(system.registerLoyaltySystem(), u"it is refused: "_s + system.getLastErrorString().ru());
         }},
        {u"the options with the codes 1024 and 16 can be switched on"_s,
         u"the host offers no search by phone"_s,
         [] {
             Plain system;
             for (const int code : {1024, 16}) {
                 system.setOption(static_cast<LoyaltySystemOption>(code), true);
                 require(system.isOptionSet(static_cast<LoyaltySystemOption>(code)),
                         u"%1 is not on"_s.arg(code));
             }
         }},
        {u"clearLoyaltyData() forgets points, impacts and records"_s,
         u"one customer's points are another's discount"_s,
         [] {
             Plain system;
             system.m_pointsForSpend = 5;
             system.m_bonusImpacts.append(QSharedPointer<BonusImpact>());
             system.m_bonusRecords.append(DocumentBonusRecord());
             system.clearLoyaltyData();
             require(system.m_pointsForSpend == 0 && system.m_bonusImpacts.isEmpty() &&
                         system.m_bonusRecords.isEmpty(),
                     u"something stays"_s);
         }},
        {u"getLastErrorString() shows the error that the system stored"_s, u"the cashier is not told why"_s,
         [] {
             Plain system;
             system.m_lastError = tr::Tr(u"probe"_s, u"Проба"_s);
             require(system.getLastErrorString().ru() == u"Проба"_s, u"it shows another"_s);
         }},
        {u"getCard() is the record of its kind on the watched document"_s, u"the card is not found"_s,
         [] {
             Plain system;
             const auto receipt = QSharedPointer<Document>::create(SaleReceipt, u"R-1"_s);
             system.setDocument(receipt);
             require(system.getCard().isNull(), u"there is one before there is one"_s);
             const auto record = QSharedPointer<DocumentCardRecord>::create(anotherKind, u"1"_s);
             receipt->setCardRecord(record);
             require(system.getCard() == record, u"it is another"_s);
         }},
        {u"an entry of a kind that nobody looks for is answered by the base"_s,
         u"the cashier is told nothing"_s,
         [] {
             Plain system;
             const auto answer =
                 system.getCardNumber({.kind = loyalty::CardNumberInputData::CustomerName, .text = u"x"_s});
             require(!answer.success && !answer.error.isEmpty(), u"it counts as found"_s);
         }},
        {u"a bonus record is shared out over the positions without a remainder"_s,
         u"what the positions earned does not add up to what the receipt earned"_s,
         [] {
             Plain system;
             const auto receipt = QSharedPointer<Document>::create(SaleReceipt, u"R-1"_s);
             for (int posnum = 1; posnum <= 3; ++posnum)
                 receipt->addGoodsItem(
                     QSharedPointer<GoodsItem>::create(posnum, u"1"_s, u"Чай"_s, 10, posnum));
             DocumentBonusRecord record;
             record.amount = 0.1;
             double sum = 0;
             const auto parts = system.distributeBonusRecord(receipt, record);
             for (const auto& part : parts) {
                 require(part.position >= 1 && part.position <= 3 && part.amount > 0,
                         u"a part belongs to nobody"_s);
                 sum += part.amount;
             }
             require(qAbs(sum - 0.1) < 0.0001, u"the parts are %1, not 0.1"_s.arg(sum));
         }},
    };
}
