#pragma once

#include "client/kyrloyaltyinterface.h"
#include "host/core/activitynotifier.h"
#include "host/core/basicloyaltysystem.h"
#include "plugin/kyrloyaltyexception.h"

/// The object that the host loads: its loyalty-system operations on top of the service client.
///
/// Failures of the client become the host's last error and a false result; exceptions of other types pass to
/// the host. Everything runs on the thread on which the host calls.
class KyrLoyalty : public BaseActivityListener, public BasicLoyaltySystem
{
    Q_OBJECT
    Q_PLUGIN_METADATA(IID "KyrLoyalty")
    Q_INTERFACES(BasicLoyaltySystem BasicPlugin)

public:
    KyrLoyalty();

    // The virtual operations stand in the host's order.
public Q_SLOTS:
    /// Event 10, a closed receipt: one without a card is reported as an anonymous receipt.
    void handleEvent(const Event& event) override;

public:
    /// Reads the settings, listens to the host's events and registers the system. False when the service's
    /// settings are unusable.
    bool init() override;

    bool identifyByCard(QSharedPointer<DocumentCardRecord>& card, ECardNumberType type) override;
    bool getCardInfo(QSharedPointer<DocumentCardRecord>& card, ECardNumberType type) override;

    /// Asks the service how many points may be spent. A card whose registration is not complete spends none.
    bool request(const QSharedPointer<AbstractDocument>& document) override;
    /// Ends the document's transaction; a return has its sale's operations refused.
    bool commit(const QSharedPointer<AbstractDocument>& document) override;
    /// Cancels the document's spending, later through the queue when the service can't be reached. Always
    /// true.
    bool rollback(const QSharedPointer<AbstractDocument>& document) override;
    bool cancel() override;

    /// Spends the points for spend as a discount on the watched document, confirmed with a code when so
    /// configured. False leaves receipt, card and state as they were; afterwards the points for spend are the
    /// discount in money.
    bool spendPoints() override;
    /// The least of the points wanted, the balance and the receipt's sum; stored as the points for spend.
    double getPointsForSpend(const QSharedPointer<AbstractDocument>& document) override;

    /// Registers the earning of the current sale at the service, later through the queue when it can't be
    /// reached.
    bool hasPointsForEarn() override;
    double getPointsForEarn() override;

    bool restoreLoyaltySystem() override;

    /// Finds the card of a phone number; the cashier chooses when there are several.
    loyalty::CardNumberResult getCardNumber(const loyalty::CardNumberInputData& input) override;

    /// Writes the state of this system into the session's current document and saves it.
    virtual void updatePluginData() const;

protected:
    Log4Qt::Logger* logger;                     ///< owned by the log manager
    QSharedPointer<KyrLoyaltyInterface> client; ///< lives as long as the plug-in
    bool smsVerification = false;               ///< spending must be confirmed with a code

private:
    /// Runs what talks to the service: true when it came through. A KyrLoyaltyException is logged, becomes
    /// the last error and gives false.
    template <class Operation>
    bool guarded(Operation operation)
    {
        try {
            operation();
            return true;
        } catch (const KyrLoyaltyException& failure) {
            logFailure(failure);
            m_lastError = failure.tr();
            return false;
        }
    }
    void logFailure(const KyrLoyaltyException& failure) const;
    [[nodiscard]] QString pluginName() const;
    [[nodiscard]] QSharedPointer<DocumentCardRecord> watchedCard() const;
    QSharedPointer<BonusImpact> confirmedPayment(double points);
};
