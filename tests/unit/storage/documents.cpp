#include "tests/unit/storage/documents.h"

#include "host/storage/documents.h"
#include "host/storage/journal.h"

#include <limits>

using namespace Qt::StringLiterals;

QSharedPointer<Document> richSale(const QString& identifier)
{
    auto document = QSharedPointer<Document>::create(SaleReceipt, identifier);
    document->setReturnIdentifier(u"back of "_s + identifier);
    document->setFlag(LoyaltyCardPresented);
    document->setFlag(7);
    const auto first = QSharedPointer<GoodsItem>::create(3, u"4601"_s, u"Молоко 3,2 %"_s, 89.9, 1.5);
    first->setDiscount(0.1 + 0.2);
    first->setBonusImpactSum(12.345678901234567);
    document->addGoodsItem(first);
    const auto second = QSharedPointer<GoodsItem>::create(1, QString(), u""_s, -0.0,
                                                          std::numeric_limits<double>::quiet_NaN());
    second->setDiscount(std::numeric_limits<double>::denorm_min());
    document->addGoodsItem(second);

    const auto record = QSharedPointer<DocumentCardRecord>::create(KyrLoyaltySystem, u"2000000000017"_s, 2);
    record->setCardStatus(ECard::Active);
    record->setBonusBalance(1234.5);
    record->setOperationId(u"{\"earn\":\"%1\"}"_s.arg(identifier));
    record->setPointsForEarn(-0.0);
    record->setPointsForSpend(0.1 + 0.7);
    const auto client = QSharedPointer<Client>::create();
    client->setName(u"Иванова Анна"_s);
    client->setSex(Client::Sex::Female);
    client->setBirthday(QDate(1980, 2, 29));
    client->setEmail(u"a@b.example"_s);
    client->setPhoneNumber(u"79001234567"_s);
    record->getCard()->setClient(client);
    document->setCardRecord(record);
    document->setCardRecord(QSharedPointer<DocumentCardRecord>::create(NoLoyaltySystem, QVariant()));

    document->setPluginData(u"KyrLoyalty"_s, u"pointsForSpend"_s, 40.0);
    document->setPluginData(
        u"KyrLoyalty"_s, u"bonusImpacts"_s,
        QVariantList{
            QVariantMap{{u"sum"_s, 12.5},
                        {u"at"_s, QDateTime::fromString(u"2024-05-06T07:08:09.010Z"_s, Qt::ISODateWithMs)}},
            QVariant(), QVariantList()});
    document->setPluginData(u"Other"_s, u"int"_s, 5);
    document->setPluginData(u"Other"_s, u"null"_s, QVariant::fromValue(nullptr));
    document->setPluginData(u"Other"_s, u"invalid"_s, QVariant());
    document->setPluginData(u"Other"_s, u"unset"_s, QVariant(QMetaType::fromType<double>()));
    document->setPluginData(u"Other"_s, u"date"_s, QDate(2024, 2, 29));
    document->setPluginData(u"Other"_s, u"map"_s, QVariantMap());
    return document;
}

QSharedPointer<Document> returnOf(const QString& sale, const QString& identifier)
{
    auto receipt = QSharedPointer<Document>::create(ReturnReceipt, identifier);
    receipt->setSaleDocumentId(sale);
    return receipt;
}

void note(const QString& receipt, const QString& event)
{
    storage::JournalEntry entry;
    entry.receipt = receipt;
    entry.event = event;
    storage::Journal().add(entry);
}

void closeReceipt(const QSharedPointer<Document>& receipt)
{
    DocumentsDao().store(receipt);
    note(receipt->getIdentifier(), u"closed"_s);
}
