#include "till/goods/catalogue.h"
#include "till/goods/demonstration.h"

#include <QElapsedTimer>

#include <gmock/gmock.h>

using namespace Qt::StringLiterals;

namespace till {

namespace {

/// Codes of scales are those of the prefixes 22 and 23.
Catalogue catalogue(QList<Goods> goods = demonstrationGoods())
{
    return Catalogue(std::move(goods), {u"22"_s, u"23"_s});
}

Goods one(const QString& articul, const QString& name, const QString& unit = {})
{
    return {.articul = articul, .name = name, .price = 1, .unit = unit};
}

std::string soughtOf(const Catalogue& goods, const QString& code)
{
    const Sought sought = goods.lookUp(code);
    return sought.goods
               ? u"%1 x %2"_s.arg(sought.goods->articul, QString::number(sought.quantity)).toStdString()
               : sought.refusal.toStdString();
}

std::string namesOf(const Catalogue& goods, const QString& text, qsizetype most = 50)
{
    QStringList names;
    for (const Goods* found : goods.search(text, most))
        names.append(found->name);
    return names.join(u'|').toStdString();
}

} // namespace

TEST(Catalogue, FindsByArticleBarcodeAndMarkingCode)
{
    const Catalogue goods = catalogue();
    EXPECT_EQ(soughtOf(goods, u"4601"_s), "4601 x 1");
    EXPECT_EQ(soughtOf(goods, u"2900000046023"_s), "4602 x 1");
    EXPECT_EQ(soughtOf(goods, u"010290000004603021abc"_s), "4603 x 1");
    for (const QString& unknown : {u"460"_s, u"46011"_s, QString(), u"0121"_s, u"2900000046024"_s})
        EXPECT_EQ(soughtOf(goods, unknown), "") << unknown.toStdString();
}

TEST(Catalogue, TakesTheWeightFromACodeOfScalesToTheGram)
{
    const Catalogue goods =
        catalogue({one(u"04605"_s, u"Яблоки"_s, u"кг"_s), one(u"77"_s, u"Сыр"_s, u"Kg"_s)});
    EXPECT_EQ(soughtOf(goods, u"2204605003451"_s), "04605 x 0.345");
    EXPECT_EQ(soughtOf(goods, u"2300077000018"_s), "77 x 0.001") << "the article without its zeros";
    EXPECT_EQ(soughtOf(goods, u"2300077999992"_s), "77 x 99.999");
}

TEST(Catalogue, RefusesACodeOfScalesThatCannotBeSold)
{
    const Catalogue goods = catalogue();
    EXPECT_EQ(soughtOf(goods, u"2204605003452"_s),
              "Код весов прочитан с ошибкой: отсканируйте ещё раз или взвесьте заново");
    EXPECT_EQ(soughtOf(goods, u"2200099003458"_s), "Код весов: артикула 00099 нет");
    EXPECT_EQ(soughtOf(goods, u"2204601003455"_s), "Код весов: Молоко 3,2 % продаётся не на вес");
    EXPECT_EQ(soughtOf(goods, u"2204605000009"_s), "Код весов: Яблоки, кг без веса, взвесьте заново");
}

TEST(Catalogue, LeavesOtherCodesThanThoseOfTheScalesAlone)
{
    const Catalogue goods = catalogue();
    for (const QString& code :
         {u"2104605003452"_s, u"220460500345"_s, u"22046050034510"_s, u"22046050034x3"_s})
        EXPECT_EQ(soughtOf(goods, code), "") << code.toStdString();
    EXPECT_EQ(soughtOf(Catalogue(demonstrationGoods()), u"2204605003451"_s), "") << "nobody named a prefix";
}

TEST(Catalogue, KnowsABarcodeAsItselfThoughItLooksLikeOneOfScales)
{
    Goods cheese = one(u"5"_s, u"Сыр"_s);
    cheese.barcodes = QStringList{u"2204605003451"_s};
    EXPECT_EQ(soughtOf(catalogue({one(u"4605"_s, u"Яблоки"_s, u"кг"_s), cheese}), u"2204605003451"_s),
              "5 x 1");
}

TEST(Catalogue, SearchesPartsOfWordsInAnyOrderAndCase)
{
    const Catalogue goods = catalogue({one(u"1"_s, u"Чай ЧЁРНЫЙ листовой"_s), one(u"2"_s, u"Чай зелёный"_s),
                                       one(u"3"_s, u"Хлеб чёрный"_s)});
    EXPECT_EQ(namesOf(goods, u"чай"_s), "Чай ЧЁРНЫЙ листовой|Чай зелёный");
    EXPECT_EQ(namesOf(goods, u"  черн  ЧА "_s), "Чай ЧЁРНЫЙ листовой");
    EXPECT_EQ(namesOf(goods, u"зеленый"_s), "Чай зелёный");
    EXPECT_EQ(namesOf(goods, u"ЗЕЛЁН"_s), "Чай зелёный");
    EXPECT_EQ(namesOf(goods, u"чёрный хлеб белый"_s), "");
    EXPECT_EQ(namesOf(goods, u" "_s), "");
    EXPECT_EQ(namesOf(goods, u"ч"_s, 2), "Чай ЧЁРНЫЙ листовой|Чай зелёный");
}

// At each key: a tenth of a second is what nobody notices, and slow machines get five.
TEST(Catalogue, OfAHundredThousandGoodsIsSearchedWhileTheCashierTypes)
{
    QList<Goods> many;
    for (int i = 0; i < 100'000; ++i)
        many.append(one(QString::number(i), u"Товар номер %1 в мягкой упаковке"_s.arg(i), u"шт"_s));
    const Catalogue goods(std::move(many));
    QElapsedTimer clock;
    clock.start();
    EXPECT_EQ(namesOf(goods, u"упаковк номер ничего"_s), "");
    EXPECT_LT(clock.restart(), 500) << "milliseconds";
    for (int i = 0; i < 100'000; ++i)
        ASSERT_TRUE(goods.find(QString::number(i)));
    EXPECT_LT(clock.elapsed(), 5000) << "milliseconds";
}

} // namespace till
