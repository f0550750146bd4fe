#include "till/checkout/amounts.h"
#include "till/checkout/checkout.h"
#include "till/checkout/failure.h"
#include "till/checkout/returnparts.h"

#include "host/storage/documents.h"
#include "till/setup/hostobjects.h"

using namespace Qt::StringLiterals;

/// Opening a receipt, and what stands on it.
namespace till {

namespace {

void requireNew(const QString& identifier)
{
    if (hostObject<DocumentsDao>().contains(identifier))
        fail(tr::Tr(u"tillReceiptKnown"_s, u"Чек %1 уже есть: номер чека не повторяется"_s).arg(identifier));
}

QSharedPointer<AbstractDocument> saleOf(const QString& identifier, bool forUpdate)
{
    auto& documents = hostObject<DocumentsDao>();
    auto sale = documents.loadDocument(identifier, forUpdate);
    if (!sale && !documents.seesAll())
        fail({u"kyrBackNotPossible"_s, u"Возврат не возможен"_s}); // as the loyalty system says it
    if (!sale)
        fail(tr::Tr(u"tillSaleMissing"_s, u"Чека %1 нет среди закрытых: возврат не возможен"_s)
                 .arg(identifier));
    if (sale->getDocumentType() != SaleReceipt)
        fail(tr::Tr(u"tillNoSale"_s, u"Чек %1 — не продажа: возврат не возможен"_s).arg(identifier));
    return sale;
}

QSharedPointer<Document> saleWith(const QString& identifier, const QList<Line>& lines)
{
    auto receipt = QSharedPointer<Document>::create(SaleReceipt, identifier);
    int posnum = 0;
    for (const Line& line : lines) {
        const auto item =
            QSharedPointer<GoodsItem>::create(++posnum, line.articul, line.name, line.price, line.quantity);
        item->setDiscount(line.discount);
        receipt->addGoodsItem(item);
    }
    requireAmounts(*receipt);
    return receipt;
}

/// The return has a record of its own: the sale's stays what the service's operations are refused by.
void takeCardOver(const AbstractDocument& sale, Document& receipt)
{
    const auto sold = sale.getCardRecord(KyrLoyaltySystem);
    if (!sold)
        return;
    const auto record = QSharedPointer<DocumentCardRecord>::create(KyrLoyaltySystem, sold->getNumber());
    record->setCardStatus(sold->getCardStatus());
    receipt.setCardRecord(record);
    receipt.setFlag(LoyaltyCardPresented);
}

QSharedPointer<Document> draftReturn(const QString& identifier, const QString& saleIdentifier,
                                     const QList<ReturnLine>& lines)
{
    requireNew(identifier);
    const auto sale = saleOf(saleIdentifier, false);
    auto receipt = QSharedPointer<Document>::create(ReturnReceipt, identifier);
    receipt->setSaleDocumentId(saleIdentifier);
    const auto before = hostObject<DocumentsDao>().returnsOf(saleIdentifier);
    for (const auto& [posnum, quantity] : lines) {
        const auto sold = sale->getGoodsItemByPosnum(posnum);
        if (!sold)
            fail(tr::Tr(u"tillPositionMissing"_s, u"Позиции %1 нет в чеке %2"_s)
                     .arg(QString::number(posnum), saleIdentifier));
        if (receipt->getGoodsItemByPosnum(posnum))
            fail(tr::Tr(u"tillPositionTwice"_s, u"Позиция %1 указана дважды"_s).arg(QString::number(posnum)));
        receipt->addGoodsItem(returnPart(*sold, quantity, returnedBefore(posnum, before)));
    }
    if (lines.isEmpty())
        fail({u"tillReturnEmpty"_s, u"В возврате нет ни одной позиции"_s});
    takeCardOver(*sale, *receipt);
    return receipt;
}

void takeAllButPositionsOver(const Document& before, Document& receipt)
{
    for (const auto& record : before.cardRecords())
        receipt.setCardRecord(record);
    for (const int flag : before.flags())
        receipt.setFlag(flag);
    for (auto own = before.pluginData().cbegin(); own != before.pluginData().cend(); ++own) {
        for (auto value = own->cbegin(); value != own->cend(); ++value)
            receipt.setPluginData(own.key(), value.key(), value.value());
    }
}

} // namespace

// Between its opening and its end another till may have taken back some of the same sale.
void Checkout::requireStillReturnable() const
{
    const QString saleIdentifier = m_receipt->getSaleDocumentId().toString();
    const auto sale = saleOf(saleIdentifier, true);
    const auto before = hostObject<DocumentsDao>().returnsOf(saleIdentifier);
    for (const auto& item : m_receipt->getGoodsItems()) {
        const int posnum = item->getPosnum();
        const auto sold = sale->getGoodsItemByPosnum(posnum);
        const auto now =
            sold ? returnPart(*sold, item->getBquant(), returnedBefore(posnum, before)) : nullptr;
        if (!now || !isSameReturn(*now, *item))
            fail(tr::Tr(u"tillReturnOutrun"_s,
                        u"Позиция %1: по чеку %2 уже оформлен другой возврат, откройте возврат заново"_s)
                     .arg(QString::number(posnum), saleIdentifier));
    }
}

void Checkout::open(const QSharedPointer<Document>& receipt)
{
    change(receipt);
    m_journal.note(receipt->getIdentifier(), u"opened"_s);
}

Result Checkout::openSale(const QString& identifier, const QList<Line>& lines)
{
    Result result;
    attempt(Action::OpenSale, result, [&] {
        requireNew(identifier);
        open(saleWith(identifier, lines));
    });
    m_turnover.opened += result.ok ? 1 : 0;
    return result;
}

Result Checkout::openReturn(const QString& identifier, const QString& sale, const QList<ReturnLine>& lines)
{
    Result result;
    attempt(Action::OpenReturn, result, [&] { open(draftReturn(identifier, sale, lines)); });
    m_turnover.opened += result.ok ? 1 : 0;
    return result;
}

Draft Checkout::returnOf(const QString& identifier, const QString& sale, const QList<ReturnLine>& lines) const
{
    Draft draft;
    carryOut(draft, [&] {
        requirePossible(Action::OpenReturn);
        draft.receipt = draftReturn(identifier, sale, lines);
    });
    return draft;
}

Result Checkout::setLines(const QList<Line>& lines)
{
    Result result;
    attempt(Action::SetLines, result, [&] {
        const auto receipt = saleWith(m_receipt->getIdentifier(), lines);
        takeAllButPositionsOver(*m_receipt, *receipt);
        change(receipt);
    });
    return result;
}

} // namespace till
