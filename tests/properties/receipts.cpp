#include "tests/properties/receipts.h"

#include <algorithm>
#include <cmath>
#include <set>

using namespace Qt::StringLiterals;

namespace properties {

namespace {

rc::Gen<double> anyNumber()
{
    return rc::gen::oneOf(
        rc::gen::arbitrary<double>(),
        rc::gen::map(rc::gen::arbitrary<int>(), [](int hundredths) { return hundredths / 100.0; }),
        rc::gen::element(0.0, -0.0, HUGE_VAL, std::nan("")));
}

rc::Gen<QVariant> plainValues()
{
    return rc::gen::oneOf(
        rc::gen::map(texts(), [](const QString& text) { return QVariant(text); }),
        rc::gen::map(anyNumber(), [](double number) { return QVariant(number); }),
        rc::gen::map(rc::gen::arbitrary<int>(), [](int number) { return QVariant(number); }),
        rc::gen::map(rc::gen::arbitrary<qint64>(),
                     [](qint64 moment) {
                         return QVariant(QDateTime::fromMSecsSinceEpoch(moment % 253'402'300'799'000));
                     }),
        rc::gen::map(texts(), [](const QString& text) { return QVariant(text.toUtf8()); }),
        rc::gen::element(QVariant(), QVariant(true), QVariant(QString())));
}

QSharedPointer<Document> emptyReceipt()
{
    const int type = *rc::gen::element<int>(SaleReceipt, ReturnReceipt);
    return QSharedPointer<Document>::create(static_cast<EDocumentType>(type), u"R-"_s + *texts());
}

std::set<int> somePositions() { return *rc::gen::container<std::set<int>>(rc::gen::inRange(1, 1000)); }

void addCard(Document& receipt, int number)
{
    auto card = QSharedPointer<DocumentCardRecord>::create(KyrLoyaltySystem, *plainValues(), number);
    card->setCardStatus(*rc::gen::element(ECard::RegistrationIncomplete, ECard::Active));
    card->setBonusBalance(*plainValues());
    card->setOperationId(*texts());
    card->setPointsForEarn(*plainValues());
    card->setPointsForSpend(*anyNumber());
    receipt.setCardRecord(card);
}

} // namespace

rc::Gen<QString> texts()
{
    return rc::gen::map(rc::gen::container<std::vector<std::uint16_t>>(rc::gen::arbitrary<std::uint16_t>()),
                        [](const std::vector<std::uint16_t>& units) {
                            QString text;
                            for (const std::uint16_t unit : units)
                                text.append(QChar(unit));
                            return text;
                        });
}

rc::Gen<QVariant> storedValues()
{
    return rc::gen::exec([] {
        switch (*rc::gen::inRange(0, 4)) {
        case 0: {
            QVariantList list;
            for (const QVariant& value : *rc::gen::container<std::vector<QVariant>>(plainValues()))
                list.append(value);
            return QVariant(list);
        }
        case 1: {
            QVariantMap map;
            for (int left = *rc::gen::inRange(0, 4); left > 0; --left)
                map.insert(*texts(), *plainValues());
            return QVariant(map);
        }
        default:
            return *plainValues();
        }
    });
}

rc::Gen<QSharedPointer<Document>> receipts()
{
    return rc::gen::exec([] {
        auto receipt = emptyReceipt();
        receipt->setReturnIdentifier(*texts());
        receipt->setSaleDocumentId(*storedValues());
        for (const int flag : *rc::gen::arbitrary<std::set<int>>())
            receipt->setFlag(flag);
        for (const int posnum : somePositions()) {
            auto item =
                QSharedPointer<GoodsItem>::create(posnum, *texts(), *texts(), *anyNumber(), *anyNumber());
            item->setDiscount(*anyNumber());
            item->setBonusImpactSum(*anyNumber());
            if (*rc::gen::arbitrary<bool>())
                item->setGrossSum(*anyNumber());
            receipt->addGoodsItem(item);
        }
        if (*rc::gen::arbitrary<bool>())
            addCard(*receipt, *rc::gen::arbitrary<int>());
        for (int left = *rc::gen::inRange(0, 3); left > 0; --left)
            receipt->setPluginData(*texts(), *texts(), *storedValues());
        return receipt;
    });
}

rc::Gen<QSharedPointer<Document>> soldReceipts()
{
    return rc::gen::exec([] {
        auto receipt = QSharedPointer<Document>::create(SaleReceipt, u"R-1"_s);
        std::set<int> numbers = somePositions();
        numbers.insert(*rc::gen::inRange(1, 1000));
        for (const int posnum : numbers) {
            const double price = *rc::gen::inRange(1, 1'000'000) / 100.0;
            const double quantity = *rc::gen::inRange(1, 10'000) / 1000.0;
            auto item = QSharedPointer<GoodsItem>::create(posnum, u"46"_s, u"Чай"_s, price, quantity);
            const auto gross = static_cast<int>(std::lround(item->getGrossSum() * 100));
            if (*rc::gen::inRange(0, 3) == 0)
                item->setDiscount(*rc::gen::inRange(0, gross + 1) / 100.0);
            receipt->addGoodsItem(item);
        }
        return receipt;
    });
}

} // namespace properties
