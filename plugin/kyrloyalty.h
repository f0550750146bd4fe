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

    /// Finds the card of a phone number; the cashier chooses when there are several.
    loyalty::CardNumberResult getCardNumber(const loyalty::CardNumberInputData& input) override;

    /// Writes the state of this system into the session's current document and saves it.
    virtual void updatePluginData() const;

protected:
    Log4Qt::Logger* logger;                     ///< owned by the log manager
    QSharedPointer<KyrLoyaltyInterface> client; ///< lives as long as the plug-in
    bool smsVerification = false;               ///< spending must be confirmed with a code

private:
    /// True when the record was filled; a KyrLoyaltyException is logged, becomes the last error and gives
    /// false.
    bool fillCard(const QSharedPointer<DocumentCardRecord>& card);
    void logFailure(const KyrLoyaltyException& failure) const;
};
