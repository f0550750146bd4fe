#pragma once

#include "host/core/card.h"
#include "host/core/hostcodes.h"
#include "host/utils/export.h"

#include <QSharedPointer>
#include <QString>
#include <QVariant>

/// The record of one card on one document: which card, what the loyalty system said of it, and what is to be
/// earned and spent on this document.
class HOST_EXPORT DocumentCardRecord
{
public:
    /// `kind` is the loyalty system whose card it is; `codeInternal` numbers the records of a document
    /// from 1.
    DocumentCardRecord(LoyaltySystemType kind, const QVariant& number, int codeInternal = 1);
    virtual ~DocumentCardRecord();

    /// The loyalty system whose card it is.
    [[nodiscard]] LoyaltySystemType getKind() const { return m_kind; }
    /// The card number, a text in a variant.
    [[nodiscard]] virtual QVariant getNumber() const { return m_number; }
    /// The record's number in its document, from 1.
    [[nodiscard]] virtual int getCodeInternal() const { return m_codeInternal; }
    /// The card itself; never null, shared with the record.
    [[nodiscard]] virtual QSharedPointer<Card> getCard() const { return m_card; }

    /// What the loyalty system said of the card; RegistrationIncomplete until it was asked.
    [[nodiscard]] virtual ECard::Status getCardStatus() const { return m_cardStatus; }
    /// Set by the loyalty system that identifies the card.
    virtual void setCardStatus(ECard::Status status) { m_cardStatus = status; }

    /// Points on the card, a double in a variant; invalid while unknown.
    [[nodiscard]] virtual QVariant getBonusBalance() const { return m_bonusBalance; }
    /// Points, a double in a variant; invalid: unknown.
    virtual void setBonusBalance(const QVariant& points) { m_bonusBalance = points; }

    /// A free text of the loyalty system, stored with the document.
    [[nodiscard]] virtual QString getOperationId() const { return m_operationId; }
    /// Replaces the text.
    virtual void setOperationId(const QString& operationId) { m_operationId = operationId; }

    /// Points that this document earns, a double in a variant; invalid when none are known.
    [[nodiscard]] QVariant getPointsForEarn() const { return m_pointsForEarn; }
    /// Points, a double in a variant; invalid: none are known.
    virtual void setPointsForEarn(const QVariant& points) { m_pointsForEarn = points; }

    /// Points to spend on this document.
    [[nodiscard]] double getPointsForSpend() const { return m_pointsForSpend; }
    /// Points; after a spending what was spent, in money.
    virtual void setPointsForSpend(double points) { m_pointsForSpend = points; }

    /// Which document of the store the record belongs to, and how often that record had been written back
    /// when this object last agreed with the store. Set by the store.
    struct StoredPlace
    {
        QString document; ///< its identifier; empty when the record is of no stored document
        int revision = 0; ///< how often it had been written back
    };
    /// Where the store has the record; without a document for one that was never stored or loaded.
    [[nodiscard]] const StoredPlace& storedPlace() const { return m_storedPlace; }
    /// For the store alone.
    void setStoredPlace(const StoredPlace& place) { m_storedPlace = place; }

private:
    LoyaltySystemType m_kind;
    QVariant m_number;
    int m_codeInternal;
    QSharedPointer<Card> m_card;
    ECard::Status m_cardStatus = ECard::RegistrationIncomplete;
    QVariant m_bonusBalance;
    QString m_operationId;
    QVariant m_pointsForEarn;
    double m_pointsForSpend = 0;
    StoredPlace m_storedPlace;
};
