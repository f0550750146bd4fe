#include "till/checkout/returnparts.h"

#include "host/storage/documents.h"
#include "host/utils/money.h"
#include "host/utils/quantity.h"
#include "till/checkout/amounts.h"
#include "till/checkout/failure.h"
#include "till/checkout/screen.h"
#include "till/setup/hostobjects.h"

#include <algorithm>
#include <cstdint>

using namespace Qt::StringLiterals;

namespace till {

namespace {

/// The whole position in whole numbers. What an earlier version stored may have none.
ReturnedPart counted(const GoodsItem& item)
{
    const auto thousandths = utils::toThousandths(item.getBquant());
    if (!thousandths)
        fail(tr::Tr(u"tillReturnUncounted"_s,
                    u"Позиция %1: количество в чеке не в целых тысячных, возврат не возможен"_s)
                 .arg(QString::number(item.getPosnum())));
    const auto sum = utils::toHundredths(item.getSumb());
    const auto discount = utils::toHundredths(item.getDiscount());
    const auto bonusDiscount = utils::toHundredths(item.getBonusImpactSum());
    if (!sum || !discount || !bonusDiscount)
        fail(tr::Tr(u"tillReturnNoSum"_s, u"Позиция %1: сумма в чеке не число, возврат не возможен"_s)
                 .arg(QString::number(item.getPosnum())));
    return {*thousandths, *sum, *discount, *bonusDiscount};
}

std::int64_t quantityOf(const GoodsItem& sold, double quantity)
{
    if (!(quantity > 0))
        fail(
            tr::Tr(u"tillReturnOfNothing"_s, u"Позиция %1: количество для возврата должно быть больше нуля"_s)
                .arg(QString::number(sold.getPosnum())));
    const auto thousandths = utils::toThousandths(quantity);
    if (!thousandths)
        fail(badQuantity(sold.getPosnum()));
    return *thousandths;
}

void requireLeft(const GoodsItem& sold, std::int64_t thousandths, std::int64_t whole, std::int64_t before)
{
    const auto text = [](std::int64_t count) { return screen::quantity(utils::inUnits(count)); };
    if (thousandths > whole - before && before > 0)
        fail(tr::Tr(u"tillReturnOfReturned"_s,
                    u"Позиция %1: к возврату %2, а из проданных %3 уже возвращено %4"_s)
                 .arg(QString::number(sold.getPosnum()), text(thousandths), text(whole), text(before)));
    if (thousandths > whole)
        fail(tr::Tr(u"tillReturnOfMore"_s, u"Позиция %1: к возврату %2, а продано %3"_s)
                 .arg(QString::number(sold.getPosnum()), text(thousandths), text(whole)));
}

double money(std::int64_t hundredths) { return static_cast<double>(hundredths) / 100; }

} // namespace

ReturnedPart returnedBefore(int posnum, const QList<QSharedPointer<AbstractDocument>>& returns)
{
    ReturnedPart all;
    for (const auto& receipt : returns) {
        const auto item = receipt->getGoodsItemByPosnum(posnum);
        if (!item)
            continue;
        const ReturnedPart part = counted(*item);
        all.thousandths += part.thousandths;
        all.sum += part.sum;
        all.discount += part.discount;
        all.bonusDiscount += part.bonusDiscount;
    }
    return all;
}

QSharedPointer<GoodsItem> returnPart(const GoodsItem& sold, double quantity, const ReturnedPart& before)
{
    const std::int64_t thousandths = quantityOf(sold, quantity);
    const ReturnedPart whole = counted(sold);
    requireLeft(sold, thousandths, whole.thousandths, before.thousandths);
    const auto part = [&](std::int64_t amount, std::int64_t gone) {
        const std::int64_t upToHere =
            utils::cutPart(amount, before.thousandths + thousandths, whole.thousandths);
        // An earlier version rounded each part by itself, and so may have given back more than its cut.
        return amount < 0 ? upToHere - gone : std::max(upToHere - gone, std::int64_t(0));
    };
    const std::int64_t discount = part(whole.discount, before.discount);
    const std::int64_t bonusDiscount = part(whole.bonusDiscount, before.bonusDiscount);

    auto item = QSharedPointer<GoodsItem>::create(sold.getPosnum(), sold.getArticul(), sold.getName(false),
                                                  sold.getPrice(), utils::inUnits(thousandths));
    item->setGrossSum(money(part(whole.sum, before.sum) + discount + bonusDiscount));
    item->setDiscount(money(discount));
    item->setBonusImpactSum(money(bonusDiscount));
    return item;
}

bool isSameReturn(const GoodsItem& one, const GoodsItem& other)
{
    return one.getPosnum() == other.getPosnum() &&
           utils::toThousandths(one.getBquant()) == utils::toThousandths(other.getBquant()) &&
           utils::toHundredths(one.getSumb()) == utils::toHundredths(other.getSumb()) &&
           utils::toHundredths(one.getDiscount()) == utils::toHundredths(other.getDiscount()) &&
           utils::toHundredths(one.getBonusImpactSum()) == utils::toHundredths(other.getBonusImpactSum());
}

bool isSameReturn(const AbstractDocument& one, const AbstractDocument& other)
{
    const auto items = one.getGoodsItems();
    const auto others = other.getGoodsItems();
    return one.getDocumentType() == other.getDocumentType() &&
           one.getSaleDocumentId() == other.getSaleDocumentId() &&
           std::equal(items.cbegin(), items.cend(), others.cbegin(), others.cend(),
                      [](const auto& item, const auto& its) { return isSameReturn(*item, *its); });
}

// Its number alone says nothing: that may be another till's.
bool wasClosedElsewhere(const Document& receipt)
{
    auto& documents = hostObject<DocumentsDao>();
    if (receipt.getDocumentType() != ReturnReceipt || documents.contains(receipt.getIdentifier()))
        return false;
    const auto closed = documents.loadDocument(receipt.getIdentifier(), false);
    return closed && isSameReturn(*closed, receipt);
}

} // namespace till
