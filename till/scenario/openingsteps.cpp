#include "host/storage/documents.h"
#include "till/checkout/refusal.h"
#include "till/checkout/returnparts.h"
#include "till/checkout/screen.h"
#include "till/scenario/stepplays.h"
#include "till/setup/hostobjects.h"

using namespace Qt::StringLiterals;

namespace till::plays {

namespace {

QSharedPointer<AbstractDocument> stored(const QString& identifier)
{
    return hostObject<DocumentsDao>().loadDocument(identifier, false);
}

/// A new receipt may push an unpaid one aside, but not one that points were spent on.
void requireFree(const Till& till, const QString& identifier)
{
    requireChangeable(till);
    if (till.hasSpentPoints())
        refuse(u"Чек %1 не закрыт, в нём списаны баллы: оплатите его или отмените шагом rollback"_s.arg(
            till.receipt()->getIdentifier()));
    if (stored(identifier))
        refuse(u"Чек %1 уже есть: номер чека не повторяется"_s.arg(identifier));
}

QSharedPointer<AbstractDocument> saleOf(const QString& identifier)
{
    auto sale = stored(identifier);
    if (!sale)
        refuse(u"Чека %1 нет среди закрытых: возврат не возможен"_s.arg(identifier));
    if (sale->getDocumentType() != SaleReceipt)
        refuse(u"Чек %1 — не продажа: возврат не возможен"_s.arg(identifier));
    return sale;
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

} // namespace

Outcome openSale(Till& till, const QVariantMap& members)
{
    const QString identifier = members.value(u"id"_s).toString();
    requireFree(till, identifier);
    const auto receipt = QSharedPointer<Document>::create(SaleReceipt, identifier);
    addPositions(*receipt, members.value(u"positions"_s).toList());
    till.open(receipt);
    return {.ok = true, .screen = screen::receipt(*receipt)};
}

QSharedPointer<Document> returnOf(const Till& till, const QVariantMap& members)
{
    const QString identifier = members.value(u"id"_s).toString();
    const QString of = members.value(u"of"_s).toString();
    requireFree(till, identifier);
    const auto sale = saleOf(of);
    auto receipt = QSharedPointer<Document>::create(ReturnReceipt, identifier);
    receipt->setSaleDocumentId(of);
    const auto before = hostObject<DocumentsDao>().returnsOf(of);
    const QVariantList positions = members.value(u"positions"_s).toList();
    for (const QVariant& entry : positions) {
        const QVariantMap position = entry.toMap();
        const int posnum = position.value(u"posnum"_s).toInt();
        const auto sold = sale->getGoodsItemByPosnum(posnum);
        if (!sold)
            refuse(u"Позиции %1 нет в чеке %2"_s.arg(QString::number(posnum), of));
        if (receipt->getGoodsItemByPosnum(posnum))
            refuse(u"Позиция %1 указана дважды"_s.arg(posnum));
        receipt->addGoodsItem(
            returnPart(*sold, position.value(u"quantity"_s).toDouble(), returnedBefore(posnum, before)));
    }
    if (positions.isEmpty())
        refuse(u"В возврате нет ни одной позиции"_s);
    takeCardOver(*sale, *receipt);
    return receipt;
}

Outcome openReturn(Till& till, const QVariantMap& members)
{
    const auto receipt = returnOf(till, members);
    till.open(receipt);
    return {.ok = true, .screen = screen::receipt(*receipt)};
}

} // namespace till::plays
