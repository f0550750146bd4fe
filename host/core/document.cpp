#include "host/core/document.h"

#include "host/utils/money.h"

AbstractDocument::~AbstractDocument() = default;

Document::Document(EDocumentType type, const QString& identifier)
    : m_type(type)
    , m_identifier(identifier)
    , m_returnIdentifier(identifier)
{}

Document::~Document() = default;

void Document::addGoodsItem(const QSharedPointer<GoodsItem>& item)
{
    Q_ASSERT(!m_byPosnum.contains(item->getPosnum()));
    m_goodsItems.append(item);
    m_byPosnum.insert(item->getPosnum(), item);
}

void Document::setCardRecord(const QSharedPointer<DocumentCardRecord>& record)
{
    m_cardRecords.insert(record->getKind(), record);
}

void Document::setFlag(int code, bool on)
{
    if (on)
        m_flags.insert(code);
    else
        m_flags.remove(code);
}

QSharedPointer<DocumentCardRecord> Document::getCardRecord(int kind) const
{
    return m_cardRecords.value(kind);
}

bool Document::hasCardRecord(int kind) const { return m_cardRecords.contains(kind); }

bool Document::isFlagSet(int code) const { return m_flags.contains(code); }

double Document::getSum() const
{
    double sum = 0;
    for (const auto& item : m_goodsItems)
        sum += item->getSumb();
    return utils::roundToHundredths(sum);
}

double Document::getDiscountSum() const
{
    double sum = 0;
    for (const auto& item : m_goodsItems)
        sum += item->getDiscountSum();
    return utils::roundToHundredths(sum);
}

QSharedPointer<GoodsItem> Document::getGoodsItemByPosnum(int posnum) const
{
    return m_byPosnum.value(posnum);
}

QVariant Document::getPluginData(const QString& pluginName, const QString& key,
                                 const QVariant& defaultValue) const
{
    return m_pluginData.value(pluginName).value(key, defaultValue);
}

void Document::setPluginData(const QString& pluginName, const QString& key, const QVariant& value)
{
    m_pluginData[pluginName].insert(key, value);
}
