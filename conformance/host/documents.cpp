#include "host/storage/documents.h"
#include "host/core/document.h"
#include "host/core/documentimpact.h"
#include "host/utils/serder.h"
#include "promise.h"

using namespace Qt::StringLiterals;

namespace {

QSharedPointer<Document> receipt(const QString& identifier, EDocumentType type = SaleReceipt)
{
    auto made = QSharedPointer<Document>::create(type, identifier);
    made->addGoodsItem(QSharedPointer<GoodsItem>::create(2, u"4602"_s, u"Хлеб"_s, 45.50, 1));
    made->addGoodsItem(QSharedPointer<GoodsItem>::create(1, u"4601"_s, u"Молоко"_s, 89.90, 2.5));
    return made;
}

QSharedPointer<DocumentCardRecord> card()
{
    return QSharedPointer<DocumentCardRecord>::create(KyrLoyaltySystem, u"2000000000017"_s);
}

QSharedPointer<BonusImpact> impact()
{
    auto totals = QSharedPointer<DocumentImpactDetail>::create();
    totals->setDiscountSum(120.55);
    totals->setDiscountName(u"Баллы"_s);
    auto made = QSharedPointer<BonusImpact>::create(totals);
    made->addDetailForPosition(2, 20.05);
    made->addDetailForPosition(1, 100.5);
    return made;
}

} // namespace

QList<Promise> documents()
{
    return {
        {u"positions come in the order of the receipt, and each by its number"_s,
         u"a discount lands on another position"_s,
         [] {
             const auto sale = receipt(u"R-1"_s);
             require(sale->getGoodsItems().size() == 2 && sale->getGoodsItems()[0]->getPosnum() == 2 &&
                         sale->getGoodsItemByPosnum(1)->getArticul() == u"4601"_s,
                     u"they do not"_s);
             require(sale->getGoodsItemByPosnum(3).isNull(), u"there is one of a number that nobody has"_s);
         }},
        {u"a bonus discount on a position lowers position and receipt"_s,
         u"the customer pays what the points have paid"_s,
         [] {
             const auto sale = receipt(u"R-1"_s);
             sale->getGoodsItemByPosnum(1)->setBonusImpactSum(24.75);
             require(qAbs(sale->getGoodsItemByPosnum(1)->getSumb() - 200) < 0.001,
                     u"the position costs something else"_s);
             require(qAbs(sale->getSum() - 245.5) < 0.001,
                     u"the receipt costs %1, not 245.5"_s.arg(sale->getSum()));
             require(qAbs(sale->getDiscountSum() - 24.75) < 0.001, u"its discount is another"_s);
         }},
        {u"a receipt has the card record and the flags that it was given, and no other"_s,
         u"a receipt with a card is reported as one without"_s,
         [] {
             const auto sale = receipt(u"R-1"_s);
             require(!sale->hasCardRecord(KyrLoyaltySystem) &&
                         sale->getCardRecord(KyrLoyaltySystem).isNull() &&
                         !sale->isFlagSet(LoyaltyCardPresented),
                     u"it has one from the start"_s);
             const auto record = card();
             sale->setCardRecord(record);
             sale->setFlag(LoyaltyCardPresented);
             require(sale->hasCardRecord(12) && sale->getCardRecord(12) == record && sale->isFlagSet(254),
                     u"it is not there"_s);
         }},
        {u"a card record keeps what the plug-in writes on it"_s,
         u"the balance or the spending is forgotten"_s,
         [] {
             const auto record = card();
             record->setBonusBalance(QVariant(1234.5));
             record->setCardStatus(ECard::Blocked);
             record->setOperationId(u"{\"a\":\"б\"}"_s);
             require(record->getBonusBalance().toDouble() == 1234.5 &&
                         record->getCardStatus() == ECard::Blocked &&
                         record->getOperationId() == u"{\"a\":\"б\"}"_s &&
                         record->getNumber().toString() == u"2000000000017"_s && !record->getCard().isNull(),
                     u"it does not"_s);
         }},
        {u"the open receipt is found again with the plug-in's values, types and empty places included"_s,
         u"after a power cut nobody knows of the points that were spent"_s,
         [] {
             const auto sale = receipt(u"R-open"_s);
             const QVariantList impacts{serder::default_serder_type<BonusImpact>::serialize(*impact()),
                                        QVariant()};
             sale->setPluginData(u"KyrLoyalty"_s, u"bonusImpacts"_s, impacts);
             sale->setPluginData(u"KyrLoyalty"_s, u"pointsForSpend"_s, 120.55);
             sale->setCardRecord(card());
             sale->getCardRecord(12)->setOperationId(QString(10'000, u'я'));
             MockFactory<SaveToFileLogic>::create()->save(sale, {});
             const auto found = SaveToFileLogic::loadOpenReceipt();
             require(!found.isNull() && found->getIdentifier() == u"R-open"_s, u"it is not found"_s);
             const auto values = found->getPluginData(u"KyrLoyalty"_s, u"bonusImpacts"_s, {}).toList();
             require(values.size() == 2 && values[0] == impacts[0] && !values[1].isValid(),
                     u"the list is another"_s);
             const auto points = found->getPluginData(u"KyrLoyalty"_s, u"pointsForSpend"_s, {});
             require(points.typeId() == QMetaType::Double && points.toDouble() == 120.55,
                     u"the number is another"_s);
             require(found->hasCardRecord(12) && found->getCardRecord(12)->getOperationId().size() == 10'000,
                     u"its card is not there as it was"_s);
             SaveToFileLogic::removeOpenReceipt();
         }},
        {u"plugin data that nobody set is the default"_s, u"a new receipt begins with another's points"_s,
         [] {
             require(receipt(u"R-2"_s)->getPluginData(u"KyrLoyalty"_s, u"pointsForSpend"_s, 7.0).toDouble() ==
                         7.0,
                     u"it is something else"_s);
         }},
        {u"a closed sale is loaded again, positions, sums and card included"_s,
         u"nothing can be returned: \"Не удалось загрузить документ продажи\""_s,
         [] {
             const auto sale = receipt(u"R-sale"_s);
             sale->setCardRecord(card());
             DocumentsDao dao;
             dao.store(sale);
             const auto loaded = DocumentsDao().loadDocument(u"R-sale"_s, false);
             require(!loaded.isNull(), u"it is not found"_s);
             require(loaded->getGoodsItems().size() == 2 && loaded->getSum() == sale->getSum() &&
                         loaded->getGoodsItems()[1]->getBquant() == 2.5 && loaded->hasCardRecord(12),
                     u"it is another"_s);
             require(DocumentsDao().loadDocument(u"R-nobody"_s, false).isNull(),
                     u"a receipt that nobody closed is found"_s);
         }},
        {u"a card record of a closed sale can be written back"_s,
         u"the second return is refused under the number of the first"_s,
         [] {
             const auto loaded = DocumentsDao().loadDocument(u"R-sale"_s, false);
             require(!loaded.isNull(), u"there is no sale to try it with"_s);
             const auto record = loaded->getCardRecord(12);
             record->setOperationId(u"{\"n\":2}"_s);
             DocumentsDao().saveCardRecord(record);
             const auto again = DocumentsDao().loadDocument(u"R-sale"_s, false);
             require(again->getCardRecord(12)->getOperationId() == u"{\"n\":2}"_s,
                     u"it comes back as it was before"_s);
         }},
        {u"a return knows its sale"_s, u"\"Возврат не возможен\""_s,
         [] {
             const auto back = receipt(u"R-back"_s, ReturnReceipt);
             back->setSaleDocumentId(u"R-sale"_s);
             require(back->getDocumentType() == 25 && back->getSaleDocumentId().toString() == u"R-sale"_s,
                     u"it does not"_s);
         }},
        {u"serder brings a bonus impact back, and a list of texts"_s,
         u"a discount is lost, or belongs to nobody"_s,
         [] {
             const auto made = impact();
             const auto back = serder::default_serder_type<BonusImpact>::deserialize(
                 serder::default_serder_type<BonusImpact>::serialize(*made));
             require(back.getPositionSums() == made->getPositionSums(), u"the shares are others"_s);
             require(back.getTotals() && back.getTotals()->getDiscountSum() == 120.55 &&
                         back.getTotals()->getDiscountName() == u"Баллы"_s,
                     u"the whole is another"_s);
             const QList<QString> texts{u"один"_s, {}, u"два"_s};
             require(serder::default_serder_type<QList<QString>>::deserialize(
                         serder::default_serder_type<QList<QString>>::serialize(texts)) == texts,
                     u"the texts are others"_s);
         }},
    };
}
