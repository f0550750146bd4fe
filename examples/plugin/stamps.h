#pragma once

#include "host/core/basicloyaltysystem.h"

/// A loyalty system without a service: every card begins with 50 points, a point is worth 1 of money, half of
/// a receipt may be paid with them, and a twentieth of what is paid comes back. The balances lie in a file of
/// the data directory.
class Stamps : public QObject, public BasicLoyaltySystem
{
    Q_OBJECT
    Q_PLUGIN_METADATA(IID "Stamps")
    Q_INTERFACES(BasicLoyaltySystem BasicPlugin)

public:
    Stamps();

    bool identifyByCard(QSharedPointer<DocumentCardRecord>& card, ECardNumberType type) override;
    bool request(const QSharedPointer<AbstractDocument>& document) override;
    double getPointsForSpend(const QSharedPointer<AbstractDocument>& document) override;
    bool spendPoints() override;
    bool hasPointsForEarn() override;
    bool commit(const QSharedPointer<AbstractDocument>& document) override;
    bool rollback(const QSharedPointer<AbstractDocument>& document) override;
    bool restoreLoyaltySystem() override;

private:
    [[nodiscard]] double balance() const;
    void addToBalance(double points) const;
};
