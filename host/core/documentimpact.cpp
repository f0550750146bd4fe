#include "host/core/documentimpact.h"

#include "host/utils/serder.h"

using namespace Qt::StringLiterals;

DocumentImpact::DocumentImpact()
    : DocumentImpact(QSharedPointer<DocumentImpactDetail>::create())
{}

DocumentImpact::DocumentImpact(const QSharedPointer<DocumentImpactDetail>& totals)
    : m_totals(totals)
{}

DocumentImpact::~DocumentImpact() = default;

BonusImpact::~BonusImpact() = default;

void DocumentImpact::addDetailForPosition(int position, double sum)
{
    m_positionSums.append({position, sum});
}

QVariant DocumentImpact::writtenTotals() const
{
    return serder::default_serder_type<DocumentImpactDetail>::serialize(*m_totals);
}

void DocumentImpact::readTotals(const QVariant& written)
{
    *m_totals = serder::default_serder_type<DocumentImpactDetail>::deserialize(written);
}

QVariantList DocumentImpact::writtenPositions() const
{
    QVariantList written;
    written.reserve(m_positionSums.size());
    for (const PositionSum& share : m_positionSums)
        written.append(QVariantMap{{u"position"_s, share.position}, {u"sum"_s, share.sum}});
    return written;
}

void DocumentImpact::readPositions(const QVariantList& written)
{
    m_positionSums.clear();
    m_positionSums.reserve(written.size());
    for (const QVariant& share : written) {
        const QVariantMap members = share.toMap();
        addDetailForPosition(members.value(u"position"_s).toInt(), members.value(u"sum"_s).toDouble());
    }
}
