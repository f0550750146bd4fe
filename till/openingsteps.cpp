#include "host/core/storage.h"
#include "host/utils/money.h"
#include "till/hostobjects.h"
#include "till/screen.h"
#include "till/stepplays.h"

#include <cmath>

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

constexpr double noise = 1e-6; // far below the least quantity, a thousandth

/// What of a sum of the position belongs to its first `quantity` units, cut to hundredths. The loyalty
/// service cuts what it restores in the same way; the last unit takes what is left over.
double partUpTo(double sum, double quantity, double whole)
{
    if (quantity > whole - noise)
        return sum;
    const auto thousandths = [](double units) { return std::llround(units * 1000); };
    const std::int64_t cut = utils::toHundredths(sum) * thousandths(quantity) / thousandths(whole);
    return static_cast<double>(cut) / 100;
}

/// The part of the sold position that comes back now; `before` came back already.
QSharedPointer<GoodsItem> returned(const GoodsItem& sold, double quantity, double before)
{
    const double whole = sold.getBquant();
    if (!(quantity > noise))
        refuse(u"Позиция %1: количество для возврата должно быть больше нуля"_s.arg(sold.getPosnum()));
    if (quantity > whole - before + noise && before > noise)
        refuse(u"Позиция %1: к возврату %2, а из проданных %3 уже возвращено %4"_s.arg(
            QString::number(sold.getPosnum()), screen::quantity(quantity), screen::quantity(whole),
            screen::quantity(before)));
    if (quantity > whole + noise)
        refuse(u"Позиция %1: к возврату %2, а продано %3"_s.arg(
            QString::number(sold.getPosnum()), screen::quantity(quantity), screen::quantity(whole)));
    auto item = QSharedPointer<GoodsItem>::create(sold.getPosnum(), sold.getArticul(), sold.getName(false),
                                                  sold.getPrice(), quantity);
    const auto part = [&](double sum) {
        return utils::roundToHundredths(partUpTo(sum, before + quantity, whole) -
                                        partUpTo(sum, before, whole));
    };
    item->setDiscount(part(sold.getDiscount()));
    item->setBonusImpactSum(part(sold.getBonusImpactSum()));
    return item;
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

double returnedBefore(const QString& sale, int posnum)
{
    double quantity = 0;
    for (const auto& receipt : hostObject<DocumentsDao>().returnsOf(sale)) {
        const auto item = receipt->getGoodsItemByPosnum(posnum);
        quantity += item ? item->getBquant() : 0;
    }
    return quantity;
}

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
            returned(*sold, position.value(u"quantity"_s).toDouble(), returnedBefore(of, posnum)));
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
