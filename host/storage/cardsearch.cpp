#include "host/storage/cardsearch.h"

#include "host/core/document.h"
#include "host/storage/documentcodec.h"
#include "host/storage/storageerror.h"
#include "host/utils/basicexception.h"

#include <algorithm>
#include <utility>

namespace storage {

CardSearch::CardSearch(QString card, QString place)
    : m_card(std::move(card))
    , m_place(std::move(place))
{}

void CardSearch::lookAtReceipt(const QString& receipt, const QString& sale, const QByteArray& content)
{
    lookAt(receipt, sale, [&] { return isOf(*documentcodec::readDocument(content, m_place)); });
}

void CardSearch::lookAtCard(const QString& receipt, const QString& sale, const QByteArray& content)
{
    lookAt(receipt, sale, [&] { return isOf(*documentcodec::readCardRecord(content, m_place)); });
}

void CardSearch::lookAtOpen(const Document& receipt)
{
    if (isOf(receipt))
        note(receipt.getIdentifier(), receipt.getSaleDocumentId().toString());
}

QByteArray CardSearch::inMessages() const { return '"' + m_card.toUtf8() + '"'; }

void CardSearch::note(const QString& receipt, const QString& sale)
{
    m_traces.families.append(sale.isEmpty() ? receipt : sale);
}

CardTraces CardSearch::traces() const
{
    CardTraces traces = m_traces;
    traces.families.removeDuplicates();
    traces.damaged.removeDuplicates();
    return traces;
}

bool CardSearch::isOf(const DocumentCardRecord& record) const
{
    return record.getNumber().toString() == m_card;
}

bool CardSearch::isOf(const Document& receipt) const
{
    const auto& records = receipt.cardRecords();
    return std::any_of(records.cbegin(), records.cend(),
                       [this](const auto& record) { return isOf(*record); });
}

void CardSearch::lookAt(const QString& receipt, const QString& sale, const std::function<bool()>& isIts)
{
    try {
        if (isIts())
            note(receipt, sale);
    } catch (const BasicException& failure) {
        if (!isFault(failure, StorageFault::Damaged))
            throw;
        m_traces.damaged.append(receipt);
    }
}

} // namespace storage
