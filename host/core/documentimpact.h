#pragma once

#include "host/core/documentcardrecord.h"
#include "host/core/hostcodes.h"
#include "host/utils/export.h"

#include <QDateTime>
#include <QList>
#include <QObject>
#include <QSharedPointer>
#include <QString>
#include <QVariant>

/// What a discount is: its kind, size and origin.
class HOST_EXPORT DocumentImpactDetail
{
    Q_GADGET
    Q_PROPERTY(QVariant cardIndex MEMBER m_cardIndex)
    Q_PROPERTY(QDateTime dateTime MEMBER m_dateTime)
    Q_PROPERTY(EDiscountType::type discountType MEMBER m_discountType)
    Q_PROPERTY(EDiscountMode::type discountMode MEMBER m_discountMode)
    Q_PROPERTY(QString discountName MEMBER m_discountName)
    Q_PROPERTY(EDiscountObject::type discountObject MEMBER m_discountObject)
    Q_PROPERTY(QVariant discountRate MEMBER m_discountRate)
    Q_PROPERTY(double discountSum MEMBER m_discountSum)
    Q_PROPERTY(EImpactSource::source impactSource MEMBER m_impactSource)
    Q_PROPERTY(bool minPriceIgnored MEMBER m_minPriceIgnored)

public:
    /// The card that the discount was given for, shared with the document. It is not written with the impact:
    /// the card index says which record of the document it was.
    void setCardRecord(const QSharedPointer<DocumentCardRecord>& record) { m_cardRecord = record; }
    void setCardIndex(const QVariant& index) { m_cardIndex = index; }
    void setDateTime(const QDateTime& dateTime) { m_dateTime = dateTime; }
    void setDiscountType(EDiscountType::type type) { m_discountType = type; }
    void setDiscountMode(EDiscountMode::type mode) { m_discountMode = mode; }
    void setDiscountName(const QString& name) { m_discountName = name; }
    void setDiscountObject(EDiscountObject::type object) { m_discountObject = object; }
    /// In the unit that the discount mode gives: money, or percent.
    void setDiscountRate(const QVariant& rate) { m_discountRate = rate; }
    /// Money.
    void setDiscountSum(double sum) { m_discountSum = sum; }
    void setImpactSource(EImpactSource::source source) { m_impactSource = source; }
    /// True: the discount may take a position below its minimum price.
    void setMinPriceIgnored(bool ignored) { m_minPriceIgnored = ignored; }

    [[nodiscard]] QSharedPointer<DocumentCardRecord> getCardRecord() const { return m_cardRecord; }
    [[nodiscard]] QVariant getCardIndex() const { return m_cardIndex; }
    [[nodiscard]] QDateTime getDateTime() const { return m_dateTime; }
    [[nodiscard]] EDiscountType::type getDiscountType() const { return m_discountType; }
    [[nodiscard]] EDiscountMode::type getDiscountMode() const { return m_discountMode; }
    [[nodiscard]] QString getDiscountName() const { return m_discountName; }
    [[nodiscard]] EDiscountObject::type getDiscountObject() const { return m_discountObject; }
    [[nodiscard]] QVariant getDiscountRate() const { return m_discountRate; }
    [[nodiscard]] double getDiscountSum() const { return m_discountSum; }
    [[nodiscard]] EImpactSource::source getImpactSource() const { return m_impactSource; }
    [[nodiscard]] bool isMinPriceIgnored() const { return m_minPriceIgnored; }

    bool operator==(const DocumentImpactDetail&) const = default;

private:
    QSharedPointer<DocumentCardRecord> m_cardRecord;
    QVariant m_cardIndex;
    QDateTime m_dateTime;
    EDiscountType::type m_discountType = EDiscountType::None;
    EDiscountMode::type m_discountMode = EDiscountMode::None;
    QString m_discountName;
    EDiscountObject::type m_discountObject = EDiscountObject::Document;
    QVariant m_discountRate;
    double m_discountSum = 0;
    EImpactSource::source m_impactSource = EImpactSource::None;
    bool m_minPriceIgnored = false;
};

/// A discount on a document: one detail for the whole, and what of it falls on which position.
class HOST_EXPORT DocumentImpact
{
    Q_GADGET
    Q_PROPERTY(QVariant totals READ writtenTotals WRITE readTotals)
    Q_PROPERTY(QVariantList positions READ writtenPositions WRITE readPositions)

public:
    struct PositionSum
    {
        int position; ///< the position's number
        double sum;   ///< money
        bool operator==(const PositionSum&) const = default;
    };

    DocumentImpact();
    /// `totals` is shared with the caller and must not be null.
    explicit DocumentImpact(const QSharedPointer<DocumentImpactDetail>& totals);
    virtual ~DocumentImpact();

    /// Adds `sum` of money to what falls on the position; nothing is checked against the total.
    virtual void addDetailForPosition(int position, double sum);

    /// The whole-discount detail; never null.
    [[nodiscard]] QSharedPointer<DocumentImpactDetail> getTotals() const { return m_totals; }
    /// The shares in the order in which they were added; a position may occur more than once.
    [[nodiscard]] const QList<PositionSum>& getPositionSums() const { return m_positionSums; }

private:
    [[nodiscard]] QVariant writtenTotals() const;
    void readTotals(const QVariant& written);
    [[nodiscard]] QVariantList writtenPositions() const;
    void readPositions(const QVariantList& written);

    QSharedPointer<DocumentImpactDetail> m_totals;
    QList<PositionSum> m_positionSums;
};

/// A discount made of bonus points. It has no meta-object of its own: it is written by DocumentImpact's.
class HOST_EXPORT BonusImpact : public DocumentImpact
{
public:
    using DocumentImpact::DocumentImpact;
    ~BonusImpact() override;
};
