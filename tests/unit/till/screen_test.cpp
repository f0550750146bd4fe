#include "till/checkout/screen.h"
#include "till/cli/texttable.h"

#include <gmock/gmock.h>

#include <clocale>
#include <limits>

using namespace Qt::StringLiterals;

namespace till {

TEST(TillScreen, AmountsHaveTwoDecimalsAndThousandsApart)
{
    EXPECT_EQ(screen::amount(0), u"0,00"_s);
    EXPECT_EQ(screen::amount(0.05), u"0,05"_s);
    EXPECT_EQ(screen::amount(999.99), u"999,99"_s);
    EXPECT_EQ(screen::amount(1000), u"1 000,00"_s);
    EXPECT_EQ(screen::amount(1234567.8), u"1 234 567,80"_s);
    EXPECT_EQ(screen::amount(-1000.5), u"−1 000,50"_s);
    EXPECT_EQ(screen::amount(1e15), u"1e+15"_s) << "what has no hundredths is shown as the number it is";
    EXPECT_EQ(screen::amount(std::numeric_limits<double>::quiet_NaN()), u"nan"_s);
}

TEST(TillScreen, WidthCountsColumnsOfTheTerminal)
{
    EXPECT_EQ(textWidth(u"Молоко"_s), 6);
    EXPECT_EQ(textWidth(u"Йод"_s), 3);
    EXPECT_EQ(textWidth(u"И\u0306од"_s), 3) << "a letter with its breve apart";
    EXPECT_EQ(textWidth(u"茶"_s), 2);
}

TEST(TillScreen, WidthIsTheSameInEveryEnvironment)
{
    const QByteArray before = setlocale(LC_ALL, nullptr);
    setlocale(LC_ALL, "C");
    EXPECT_EQ(textWidth(u"И\u0306од 茶"_s), 6);
    setlocale(LC_ALL, before.constData());
}

TEST(TillScreen, ReceiptColumnsStandBelowEachOther)
{
    Document receipt(SaleReceipt, u"R-1"_s);
    receipt.addGoodsItem(QSharedPointer<GoodsItem>::create(9, u"1"_s, u"И\u0306од"_s, 5, 1));
    receipt.addGoodsItem(QSharedPointer<GoodsItem>::create(10, u"2"_s, u"Чай 茶"_s, 1500, 0.25));
    EXPECT_EQ(screen::receipt(receipt).join(u'\n').toStdString(),
              "Чек R-1\n"
              " 9  И\u0306од        1 ×     5,00    5,00\n"
              "10  Чай 茶  0,25 × 1 500,00  375,00\n"
              "    Итого                    380,00");
}

TEST(TillScreen, ReceiptTellsDiscountsAndPointsOfEachPositionAndOfAll)
{
    Document receipt(SaleReceipt, u"R-1"_s);
    const QString longName = u"Масло сливочное «Крестьянское» 72,5 %"_s;
    const auto tea = QSharedPointer<GoodsItem>::create(1, u"1"_s, longName, 200, 2);
    tea->setDiscount(0.01);
    tea->setBonusImpactSum(50);
    receipt.addGoodsItem(tea);
    const auto honey = QSharedPointer<GoodsItem>::create(2, u"2"_s, u"Мёд"_s, 1000, 1);
    honey->setBonusImpactSum(0.01);
    receipt.addGoodsItem(honey);
    EXPECT_EQ(screen::receipt(receipt).join(u'\n').toStdString(),
              "Чек R-1\n"
              "1  Масло сливочное «Крестьянское» 72,5 %  2 ×   200,00    400,00\n"
              "     скидка                                                −0,01\n"
              "     баллами                                              −50,00\n"
              "2  Мёд                                    1 × 1 000,00  1 000,00\n"
              "     баллами                                               −0,01\n"
              "   Итого                                                1 399,99\n"
              "   Скидка баллами                                         −50,01\n"
              "   К оплате                                             1 349,98");
}

TEST(TillScreen, ReturnNamesItsSaleAndWhatIsGivenBack)
{
    const auto receipt = QSharedPointer<Document>::create(ReturnReceipt, u"B-1"_s);
    receipt->setSaleDocumentId(u"R-1"_s);
    const auto tea = QSharedPointer<GoodsItem>::create(1, u"1"_s, u"Чай"_s, 200, 1);
    tea->setBonusImpactSum(50);
    receipt->addGoodsItem(tea);
    EXPECT_EQ(screen::receipt(*receipt).first(), u"Возврат B-1 по чеку R-1"_s);
    EXPECT_THAT(screen::receipt(*receipt).last().toStdString(), testing::HasSubstr("К возврату"));
    Payment payment;
    payment.receipt = receipt;
    EXPECT_THAT(screen::payment(payment),
                testing::ElementsAre(u"Возврат B-1 по чеку R-1: возвращено 150,00"_s));
}

TEST(TillScreen, PaymentTellsWhatWasEarnedAndHowSurelyThatIsKnown)
{
    Payment payment;
    payment.receipt = QSharedPointer<Document>::create(SaleReceipt, u"R-1"_s);
    payment.receipt->addGoodsItem(QSharedPointer<GoodsItem>::create(1, u"1"_s, u"Чай"_s, 200, 1));
    payment.earned = 12.5;
    const QString paid = u"Чек R-1: оплачено 200,00"_s;
    EXPECT_THAT(screen::payment(payment), testing::ElementsAre(paid)) << "nothing was earned";
    payment.earning = Payment::Earning::Done;
    EXPECT_THAT(screen::payment(payment), testing::ElementsAre(paid, u"Начислено баллов: 12,50"_s));
    payment.earnedIsRounded = true;
    EXPECT_THAT(screen::payment(payment), testing::ElementsAre(paid, u"Начислено баллов: около 12,50"_s));
    payment.earned = std::nullopt;
    EXPECT_THAT(screen::payment(payment), testing::ElementsAre(paid, u"Начислено баллов: около 0,00"_s));
    payment.earning = Payment::Earning::Queued;
    EXPECT_THAT(screen::payment(payment), testing::ElementsAre(paid, u"Баллы будут начислены позже"_s));
}

TEST(TillScreen, CustomerIsToldAsFarAsTheServiceHasSaid)
{
    DocumentCardRecord record(KyrLoyaltySystem, u"2000000000017"_s);
    record.setCardStatus(ECard::Active);
    EXPECT_THAT(screen::customer(record), testing::ElementsAre(u"Карта …0017"_s));
    record.getCard()->setClient(QSharedPointer<Client>::create());
    EXPECT_THAT(screen::customer(record), testing::SizeIs(1)) << "a customer without a name";
    record.getCard()->getClient()->setName(u"Анна"_s);
    record.setBonusBalance(1250);
    record.setCardStatus(ECard::Blocked);
    EXPECT_THAT(screen::customer(record), testing::ElementsAre(u"Карта …0017, заблокирована"_s,
                                                               u"Покупатель: Анна"_s, u"Баланс: 1 250,00"_s));
    record.setCardStatus(ECard::RegistrationIncomplete);
    EXPECT_EQ(screen::customer(record).first(), u"Карта …0017, регистрация не завершена"_s);
}

namespace {

QStringList shownOf(const QStringList& numbers)
{
    ChoiceRequest request;
    request.items = tr::TrList(numbers);
    QStringList shown;
    for (const tr::Tr& item : screen::masked(request).items)
        shown.append(item.shown());
    return shown;
}

} // namespace

TEST(TillScreen, NumbersInAListAreMaskedAndToldApartByAsFewMoreDigitsAsDo)
{
    EXPECT_THAT(shownOf({u"1234567890"_s, u"5550001111"_s}), testing::ElementsAre(u"…7890"_s, u"…1111"_s));
    EXPECT_THAT(shownOf({u"1234567890"_s, u"5550001111"_s, u"1234597890"_s}),
                testing::ElementsAre(u"…67890"_s, u"…1111"_s, u"…97890"_s));
    EXPECT_THAT(shownOf({u"10000001234567"_s, u"10000009234567"_s, u"10000008834567"_s}),
                testing::ElementsAre(u"…1234567"_s, u"…9234567"_s, u"…834567"_s));
}

TEST(TillScreen, NumbersInAListThatHalfTheirDigitsDoNotTellApartAreCounted)
{
    EXPECT_THAT(shownOf({u"1234567890"_s, u"1239567890"_s}),
                testing::ElementsAre(u"…7890 (1)"_s, u"…7890 (2)"_s));
    EXPECT_THAT(shownOf({u"№1234567890"_s, u"№1234597890"_s}),
                testing::ElementsAre(u"№…7890 (1)"_s, u"№…7890 (2)"_s))
        << "of a text nobody knows where its number ends";
}

TEST(TillScreen, QuantityIsShownInThousandthsAtMost)
{
    EXPECT_EQ(screen::quantity(2), u"2"_s);
    EXPECT_EQ(screen::quantity(10), u"10"_s);
    EXPECT_EQ(screen::quantity(0.35), u"0,35"_s);
    EXPECT_EQ(screen::quantity(0.352), u"0,352"_s);
    EXPECT_EQ(screen::quantity(1.0 / 3), u"0,333"_s);
}

} // namespace till
