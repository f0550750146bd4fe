#include "tests/journey/window/cashier.h"

#include "till/window/panels/goodssearch.h"

#include <QFile>
#include <QLineEdit>
#include <QProcess>
#include <QTemporaryDir>

using namespace Qt::StringLiterals;
using testing::HasSubstr;
using testing::Not;
using till::Goods;

namespace windowtest {

namespace {

const QList<Goods> shop{
    {u"1"_s, u"Чай чёрный листовой"_s, 100, {}, u"шт"_s},
    {u"2"_s, u"Чай зелёный"_s, 200, {}, u"шт"_s},
    {u"3"_s, u"Хлеб чёрный"_s, 50, {}, u"шт"_s, 3},
    {u"4605"_s, u"Яблоки"_s, 119, {}, u"кг"_s},
    {u"К-7"_s, u"Чай К-7"_s, 300, {}},
};
const QString apples = u"2204605003451"_s; // 345 g
const QString card = u"2000000000055"_s;

till::window::GoodsSearch& foundOf(Cashier& cashier)
{
    return *cashier.window().findChild<till::window::GoodsSearch*>();
}

/// What is listed below the article; nothing when the list is not on the screen.
std::string namesOf(Cashier& cashier)
{
    QStringList names;
    const auto& found = foundOf(cashier);
    for (int row = 0; found.isVisible() && row < found.rowCount(); ++row)
        names.append(found.item(row, 0)->text().section(u'\n', 0, 0));
    return names.join(u'|').toStdString();
}

std::string soldOf(Cashier& cashier)
{
    QStringList sold;
    if (cashier.checkout().receipt()) {
        for (const auto& item : cashier.checkout().receipt()->getGoodsItems())
            sold.append(item->getArticul() + u'x' + QString::number(item->getBquant()));
    }
    return sold.join(u' ').toStdString();
}

/// More than any window shows at once.
QList<Goods> manyGoods()
{
    QList<Goods> many;
    for (int i = 1; i <= 300; ++i) {
        const QString name =
            u"Товар с именем, какого не вместит ни одна строка и ни одна кнопка, и номером %1"_s.arg(i);
        many.append({QString::number(i), name, 99'999'999.99, {}, u"шт"_s, i <= 8 ? i : 0});
    }
    return many;
}

class WindowStart : public testing::Test
{
protected:
    [[nodiscard]] QString write(const QString& name, const QByteArray& content) const
    {
        QFile file(m_folder.filePath(name));
        EXPECT_TRUE(file.open(QIODevice::WriteOnly) && file.write(content) == content.size());
        return file.fileName();
    }
    /// The exit status; what it said is in `said`. Nothing but a mistake ends it.
    int run(const QStringList& options)
    {
        QProcess window;
        window.start(QStringLiteral(TILL_PROGRAM), QStringList{u"window"_s} + options);
        if (!window.waitForFinished(20'000)) {
            window.kill();
            window.waitForFinished();
            return -1;
        }
        m_said = window.readAllStandardError();
        return window.exitCode();
    }
    [[nodiscard]] std::string said() const { return m_said.toStdString(); }

private:
    QTemporaryDir m_folder;
    QByteArray m_said;
};

} // namespace

TEST(WindowSearch, ListsGoodsByPartsOfTheirNamesAtEachKey)
{
    Cashier cashier({.goods = shop});
    cashier.type(u"ч"_s);
    EXPECT_EQ(namesOf(cashier), "Чай чёрный листовой|Чай зелёный|Хлеб чёрный|Чай К-7");
    picture(cashier.window(), u"found"_s);
    cashier.type(u"ерн"_s);
    EXPECT_EQ(namesOf(cashier), "Чай чёрный листовой|Хлеб чёрный");
    cashier.type(u" ча"_s);
    EXPECT_EQ(namesOf(cashier), "Чай чёрный листовой");
    cashier.type(u"щ"_s);
    EXPECT_EQ(namesOf(cashier), "");
    cashier.press(Qt::Key_Backspace);
    cashier.press(Qt::Key_Return); // the only one
    EXPECT_EQ(soldOf(cashier), "1x1") << cashier.notice().toStdString();
    EXPECT_EQ(namesOf(cashier), "");
    EXPECT_EQ(cashier.focus(), u"Артикул товара"_s);
}

TEST(WindowSearch, AmongSeveralArrowsAndEnterChooseAndEnterAloneTakesNone)
{
    Cashier cashier({.goods = shop});
    cashier.type(u"чай"_s);
    cashier.press(Qt::Key_Return);
    EXPECT_EQ(soldOf(cashier), "");
    EXPECT_EQ(cashier.takeBeeps(), 1);
    EXPECT_EQ(cashier.notice().toStdString(), "Найдено несколько товаров: выберите стрелками или пальцем");
    cashier.press(Qt::Key_Down);
    cashier.press(Qt::Key_Down);
    cashier.press(Qt::Key_Return);
    EXPECT_EQ(soldOf(cashier), "2x1");
    cashier.type(u"чай"_s);
    cashier.press(Qt::Key_Down);
    cashier.type(u" з"_s); // another list: the choice is open again
    cashier.press(Qt::Key_Escape);
    EXPECT_EQ(namesOf(cashier), "");
    cashier.press(Qt::Key_Return);
    EXPECT_EQ(soldOf(cashier), "2x1");
}

TEST(WindowSearch, AFingerChooses)
{
    Cashier cashier({.goods = shop});
    cashier.type(u"чай"_s);
    cashier.touchRow(foundOf(cashier), 1);
    EXPECT_EQ(soldOf(cashier), "2x1");
    EXPECT_EQ(namesOf(cashier), "");
    EXPECT_EQ(cashier.focus(), u"Артикул товара"_s);
}

TEST(WindowSearch, DigitsAndWholeArticlesAreNoName)
{
    Cashier cashier({.goods = shop});
    cashier.type(u"7"_s);
    EXPECT_EQ(namesOf(cashier), "");
    cashier.press(Qt::Key_Backspace);
    cashier.type(u"К-"_s);
    EXPECT_EQ(namesOf(cashier), "Чай К-7");
    cashier.type(u"7"_s);
    EXPECT_EQ(namesOf(cashier), "");
    cashier.press(Qt::Key_Return);
    EXPECT_EQ(soldOf(cashier), "К-7x1");
    cashier.type(u"9"_s);
    cashier.press(Qt::Key_Return);
    EXPECT_EQ(cashier.notice().toStdString(), "Товара «9» нет: введите другой артикул или часть названия");
}

TEST(WindowSearch, OfManyWithLongNamesGrowsNothingAndSaysThatThereAreMore)
{
    for (const int scale : {100, 150}) {
        Cashier cashier({.scale = scale, .goods = manyGoods()});
        const QSize size = cashier.window().size();
        picture(cashier.window(), u"many-keys-%1"_s.arg(scale));
        for (const auto* key :
             cashier.window().findChild<till::window::GoodsKeys*>()->findChildren<QPushButton*>()) {
            for (const QString& line : key->text().split(u'\n'))
                EXPECT_LE(key->fontMetrics().horizontalAdvance(line), key->width() - 6) << scale;
        }
        cashier.type(u"товар"_s);
        EXPECT_EQ(cashier.window().size(), size) << scale;
        EXPECT_EQ(size, QSize(1024, 768)) << scale;
        auto& found = foundOf(cashier);
        EXPECT_EQ(found.rowCount(), 51);
        EXPECT_EQ(found.item(50, 0)->text(), u"Есть и другие: наберите больше букв"_s);
        EXPECT_GE(found.viewport()->height(), 2 * found.rowHeight(0)) << scale;
        picture(cashier.window(), u"many-found-%1"_s.arg(scale));
        for (int i = 0; i < 60; ++i)
            cashier.press(Qt::Key_Down);
        cashier.press(Qt::Key_Return);
        EXPECT_EQ(soldOf(cashier), "50x1") << "the hint is not sold";
        EXPECT_EQ(cashier.window().size(), size) << scale;
    }
}

TEST(WindowAssortment, ButtonsStandInTheirPlacesAndOthersHaveNone)
{
    Cashier cashier({.goods = shop});
    cashier.touch(u"Хлеб чёрный, 50,00 ₽"_s);
    EXPECT_EQ(soldOf(cashier), "3x1");
    EXPECT_THAT(cashier.buttons().join(u'\n').toStdString(), Not(HasSubstr("Чай")));
}

TEST(WindowScales, ABarcodeOfThemIsSoldByItsWeightEachAsAPositionOfItsOwn)
{
    Cashier cashier({.weightPrefixes = u"22,23"_s, .goods = shop});
    cashier.scan(apples);
    cashier.scan(u"3"_s + u"00"_s); // no such goods
    cashier.takeBeeps();
    cashier.scan(apples);
    cashier.press(Qt::Key_F2);
    cashier.type(u"2304605012009"_s); // a torn label, typed
    cashier.press(Qt::Key_Return);
    EXPECT_EQ(soldOf(cashier), "4605x0.345 4605x0.345 4605x1.2") << cashier.notice().toStdString();
    EXPECT_EQ(cashier.checkout().receipt()->getGoodsItems()[0]->getSumb(), 41.06);
    EXPECT_EQ(cashier.takeBeeps(), 0);
}

TEST(WindowScales, WhatTheyPrintedWronglyIsRefusedWithAWordAndASound)
{
    Cashier cashier({.weightPrefixes = u"22"_s, .goods = shop});
    const auto refused = [&](const QString& code) {
        cashier.scan(code);
        EXPECT_EQ(cashier.takeBeeps(), 1) << code.toStdString();
        EXPECT_EQ(soldOf(cashier), "");
        return cashier.notice().toStdString();
    };
    EXPECT_EQ(refused(u"2204605003452"_s),
              "Код весов прочитан с ошибкой: отсканируйте ещё раз или взвесьте заново");
    EXPECT_EQ(refused(u"2200003003451"_s), "Код весов: Хлеб чёрный продаётся не на вес");
    EXPECT_EQ(refused(u"2200099003458"_s), "Код весов: артикула 00099 нет");
}

TEST(WindowScan, OfAKnownArticleOrBarcodeIsGoodsThoughCardsBeginLikeIt)
{
    QList<Goods> goods = shop;
    goods.append({u"2000"_s, u"Пакет"_s, 5, {u"2000000000024"_s}});
    Cashier cashier({.goods = goods});
    cashier.scan(u"2000"_s);
    cashier.scan(u"2000000000024"_s);
    EXPECT_EQ(soldOf(cashier), "2000x2") << cashier.notice().toStdString();
    cashier.scan(card);
    EXPECT_TRUE(cashier.checkout().card()) << cashier.notice().toStdString();
}

TEST(WindowScan, OfACardAndOfScalesIsToldApartByTheLongerBeginning)
{
    {
        Cashier cashier({.cardPrefixes = u"2000"_s, .weightPrefixes = u"20"_s, .goods = shop});
        cashier.scan(card);
        EXPECT_TRUE(cashier.checkout().card()) << cashier.notice().toStdString();
    }
    Cashier cashier({.cardPrefixes = u"2"_s, .weightPrefixes = u"22"_s, .goods = shop});
    cashier.scan(apples);
    EXPECT_EQ(soldOf(cashier), "4605x0.345") << cashier.notice().toStdString();
    cashier.scan(card);
    EXPECT_TRUE(cashier.checkout().card()) << cashier.notice().toStdString();
}

TEST_F(WindowStart, IsRefusedWithABadFileOfGoodsWhichTellsAllItsMistakes)
{
    const QString goods = write(u"goods.csv"_s, "article;barcodes;name;price;unit;button\n"
                                                "1;;Чай;89,905;;\n2;;Сок;1;;\n2;;Сок;1;;\n");
    EXPECT_EQ(run({u"--goods"_s, goods}), 2);
    EXPECT_THAT(said(), HasSubstr(goods.toStdString() + ":2: price: not in whole kopecks"));
    EXPECT_THAT(said(), HasSubstr(goods.toStdString() + ":4: article: 2 is in line 3 already"));
    EXPECT_EQ(run({u"--goods"_s, goods + u".none"_s}), 2);
    EXPECT_THAT(said(), HasSubstr("the file of goods cannot be read"));
}

TEST_F(WindowStart, ReadsTheConfiguredGoodsBesideTheConfigurationOrThoseOfTheOption)
{
    static_cast<void>(write(u"sold.csv"_s, "article,name\n"));
    const QString config = write(u"till.toml"_s, "[Till]\ngoods = \"sold.csv\"\n");
    EXPECT_EQ(run({u"--config"_s, config}), 2);
    EXPECT_THAT(said(), HasSubstr("sold.csv:1: price: the column is missing"));
    const QString other = write(u"other.csv"_s, "");
    EXPECT_EQ(run({u"--config"_s, config, u"--goods"_s, other}), 2);
    EXPECT_THAT(said(), HasSubstr("other.csv:1: the file is empty"));
    EXPECT_THAT(said(), Not(HasSubstr("sold.csv")));
}

TEST_F(WindowStart, IsRefusedWithPrefixesOfScalesThatNobodyCouldTellApart)
{
    EXPECT_EQ(run({u"--config"_s, write(u"till.toml"_s, "[Till]\nweightPrefixes = \"22, 2\"\n")}), 2);
    EXPECT_THAT(said(), HasSubstr("Till:weightPrefixes: expected two digits each"));
    EXPECT_EQ(run({u"--config"_s,
                   write(u"till.toml"_s, "[Till]\nweightPrefixes = \"22\"\ncardPrefixes = \"2000, 22\"\n")}),
              2);
    EXPECT_THAT(said(), HasSubstr("Till:weightPrefixes: 22 is also how cards begin"));
}

} // namespace windowtest
