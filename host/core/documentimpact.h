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
    /// DocumentCardRecord::getCodeInternal() of that card, an int in a variant.
    void setCardIndex(const QVariant& index) { m_cardIndex = index; }
    /// When the discount was given, local time.
    void setDateTime(const QDateTime& dateTime) { m_dateTime = dateTime; }
    /// What kind of discount it is.
    void setDiscountType(EDiscountType::type type) { m_discountType = type; }
    /// What the rate is: money or percent.
    void setDiscountMode(EDiscountMode::type mode) { m_discountMode = mode; }
    /// The name that the receipt shows.
    void setDiscountName(const QString& name) { m_discountName = name; }
    /// Whether it is a discount of the receipt or of one position.
    void setDiscountObject(EDiscountObject::type object) { m_discountObject = object; }
    /// In the unit that the discount mode gives: money, or percent.
    void setDiscountRate(const QVariant& rate) { m_discountRate = rate; }
    /// Money.
    void setDiscountSum(double sum) { m_discountSum = sum; }
    /// Who gave it.
    void setImpactSource(EImpactSource::source source) { m_impactSource = source; }
    /// True: the discount may take a position below its minimum price.
    void setMinPriceIgnored(bool ignored) { m_minPriceIgnored = ignored; }

    /// The card; null also when the impact was read back.
    [[nodiscard]] QSharedPointer<DocumentCardRecord> getCardRecord() const { return m_cardRecord; }
    /// The card's number in the document; invalid when there is none.
    [[nodiscard]] QVariant getCardIndex() const { return m_cardIndex; }
    /// When the discount was given, local time.
    [[nodiscard]] QDateTime getDateTime() const { return m_dateTime; }
    /// What kind of discount it is.
    [[nodiscard]] EDiscountType::type getDiscountType() const { return m_discountType; }
    /// What the rate is: money or percent.
    [[nodiscard]] EDiscountMode::type getDiscountMode() const { return m_discountMode; }
    /// The name that the receipt shows.
    [[nodiscard]] QString getDiscountName() const { return m_discountName; }
    /// Whether it is a discount of the receipt or of one position.
    [[nodiscard]] EDiscountObject::type getDiscountObject() const { return m_discountObject; }
    /// The rate in the unit of the discount mode, a double in a variant.
    [[nodiscard]] QVariant getDiscountRate() const { return m_discountRate; }
    /// The whole discount, money.
    [[nodiscard]] double getDiscountSum() const { return m_discountSum; }
    /// Who gave it.
    [[nodiscard]] EImpactSource::source getImpactSource() const { return m_impactSource; }
    /// Whether it may take a position below its minimum price.
    [[nodiscard]] bool isMinPriceIgnored() const { return m_minPriceIgnored; }

    /// Equal in every member; the card is the same object.
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
    /// What of the discount falls on one position.
    struct PositionSum
    {
        int position; ///< the position's number
        double sum;   ///< money
        /// Equal in both members.
        bool operator==(const PositionSum&) const = default;
    };

    /// With a detail of its own that says nothing yet, to be read into.
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
    using DocumentImpact::DocumentImpact; ///< made as any impact
    ~BonusImpact() override;
};
