#pragma once

#include "host/core/abstractdocument.h"
#include "host/core/basicplugin.h"
#include "host/core/documentbonusrecord.h"
#include "host/core/documentimpact.h"
#include "host/core/documentwatcher.h"
#include "host/core/hostcodes.h"
#include "host/utils/export.h"
#include "host/utils/tr.h"

#include <QList>
#include <QSharedPointer>
#include <QString>

namespace loyalty {

/// What the cashier entered to find a customer.
struct HOST_EXPORT CardNumberInputData
{
    /// Ways in which a customer is looked for.
    enum Kind : int { CardNumber = 0, PhoneNumber = 1, CustomerName = 2 };

    int kind = CardNumber; ///< of Kind; a host with more kinds may pass other numbers
    QString text;          ///< as it was typed
};

/// What became of it.
struct HOST_EXPORT CardNumberResult
{
    bool success = false; ///< false: nothing was found, or could not be asked for
    QString cardNumber;   ///< empty with success: the cashier chose no card
    tr::Tr error;         ///< for the cashier; empty with success

    /// Equal in every member.
    bool operator==(const CardNumberResult&) const = default;
};

} // namespace loyalty

/// A loyalty system as the host drives it, with the behaviour of one that has no service behind it. A plug-in
/// overrides what its system does. Operations that return bool tell by false that they failed; the reason is
/// then in getLastErrorString().
///
/// What is no failure of the loyalty system, such as a disk that is full, is an exception derived from
/// std::exception, most often BasicException. It passes to the host, which has to catch it.
///
/// The host calls all of it on one thread, `request`, `commit` and `rollback` only for documents that carry a
/// card of this system.
class HOST_EXPORT BasicLoyaltySystem : public DocumentWatcher, public virtual BasicPlugin
{
public:
    BasicLoyaltySystem();
    ~BasicLoyaltySystem() override; ///< takes the system out of LoyaltySystems

    /// Makes the system ready and registers it; called once after loading. False: it can't be used.
    virtual bool init();

    /// Fills the record of a presented card: status, customer, balance. The record stays the host's.
    virtual bool identifyByCard(QSharedPointer<DocumentCardRecord>& card, ECardNumberType type);
    /// The same for a card that is already on the receipt.
    virtual bool getCardInfo(QSharedPointer<DocumentCardRecord>& card, ECardNumberType type);

    /// Before payment: finds out how many points may be spent.
    virtual bool request(const QSharedPointer<AbstractDocument>& document);
    /// The document was closed: ends its transaction.
    virtual bool commit(const QSharedPointer<AbstractDocument>& document);
    /// The document was abandoned: undoes what was done for it.
    virtual bool rollback(const QSharedPointer<AbstractDocument>& document);
    /// Forgets the state of the current document without undoing anything.
    virtual bool cancel();

    /// Spends the points for spend on the watched document.
    virtual bool spendPoints();
    /// The points that may be spent on the document, no more than setPointsForSpend() or request() allowed;
    /// kept as the points for spend.
    virtual double getPointsForSpend(const QSharedPointer<AbstractDocument>& document);

    /// Whether the current document earns points.
    virtual bool hasPointsForEarn();
    /// How many: the sum of the bonus records' amounts.
    virtual double getPointsForEarn();

    /// After a restart: brings the state back from the watched document.
    virtual bool restoreLoyaltySystem();

    /// Finds a card number by what was entered. The base takes a card number as it is and knows no other way.
    virtual loyalty::CardNumberResult getCardNumber(const loyalty::CardNumberInputData& input);

    /// The system's number, under which documents keep its card records; NoLoyaltySystem until it is set.
    [[nodiscard]] LoyaltySystemType getType() const { return m_type; }
    /// Whether the system has asked the till for that.
    [[nodiscard]] bool isOptionSet(LoyaltySystemOption option) const { return m_options.contains(option); }
    /// What is switched on, in the order in which it was.
    [[nodiscard]] const QList<LoyaltySystemOption>& options() const { return m_options; }
    /// The text of the last failure; stays until the next one.
    [[nodiscard]] tr::Tr getLastErrorString() const { return m_lastError; }
    /// Points for spend as they stand, without asking anybody.
    [[nodiscard]] double currentPointsForSpend() const { return m_pointsForSpend; }
    /// The host sets here how many points the customer wants to spend, before getPointsForSpend().
    void setPointsForSpend(double points) { m_pointsForSpend = points; }
    /// The discounts of the current document's spendings, in order, shared with the system; an entry may be
    /// null. It is the host that puts them on the positions.
    [[nodiscard]] const QList<QSharedPointer<BonusImpact>>& getBonusImpacts() const { return m_bonusImpacts; }

protected:
    /// Switches an option on, as the last of options(), or off.
    void setOption(LoyaltySystemOption option, bool on);
    /// Makes the system known to the till. False when another one of the same type already is.
    virtual bool registerLoyaltySystem();
    /// Clears the state of the current document: points for spend, bonus impacts and bonus records.
    virtual void clearLoyaltyData();
    /// The watched document's record of this system's card; null without a document or a card.
    [[nodiscard]] virtual QSharedPointer<DocumentCardRecord> getCard() const;
    /// The state in words, for the log.
    [[nodiscard]] virtual QString pointsMessage() const;
    /// Spreads the record over the document's positions in proportion to their sums, in hundredths; the parts
    /// add up to the whole, and each is within a hundredth of its exact share. A position that gets nothing
    /// has no part, so a document whose sums add up to nothing gives none.
    [[nodiscard]] virtual QList<DocumentBonusRecord>
    distributeBonusRecord(const QSharedPointer<AbstractDocument>& document,
                          const DocumentBonusRecord& record) const;

    // State that a loyalty system reads and writes.
    LoyaltySystemType m_type = NoLoyaltySystem;        ///< set by the constructor
    double m_pointsForSpend = 0;                       ///< points; what was spent, in money, after a spending
    QList<QSharedPointer<BonusImpact>> m_bonusImpacts; ///< what getBonusImpacts() shows
    QList<DocumentBonusRecord> m_bonusRecords;         ///< what the document earns, position by position
    tr::Tr m_lastError;                                ///< what getLastErrorString() shows

private:
    bool refuse();

    QList<LoyaltySystemOption> m_options;
};

Q_DECLARE_INTERFACE(BasicLoyaltySystem, "LoyaltySystem")
