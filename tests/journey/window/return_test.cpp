#include "host/storage/documents.h"
#include "host/utils/basicexception.h"
#include "host/utils/singleton.h"
#include "tests/journey/window/cashier.h"

#include <QLabel>
#include <QListWidget>

using namespace Qt::StringLiterals;
using testing::HasSubstr;

namespace windowtest {

namespace {

/// A store that finds the closed sales, but then can't be read.
class FailingReceipts : public DocumentsDao
{
public:
    QList<QSharedPointer<AbstractDocument>> returnsOf(const QString& /*sale*/) override
    {
        throw BasicException(tr::Tr(u"t"_s, u"Хранилище не читается"_s));
    }
};

/// A store that cannot ask everywhere.
class FarReceipts : public DocumentsDao
{
public:
    [[nodiscard]] bool seesAll() const override { return false; }
};

/// A store in which the sale that was closed last is damaged.
class DamagedReceipt : public DocumentsDao
{
public:
    QList<ClosedSale> newestSales(int limit) override
    {
        return QList<ClosedSale>{{u"R-9"_s, nullptr}} + DocumentsDao::newestSales(limit);
    }
};

/// Puts another object in the place of the host's, and the host's back.
class InPlace
{
public:
    explicit InPlace(DocumentsDao* other)
        : m_before(std::exchange(Singleton<DocumentsDao>::instance, other))
    {}
    ~InPlace() { delete std::exchange(Singleton<DocumentsDao>::instance, m_before); }
    Q_DISABLE_COPY_MOVE(InPlace)

private:
    DocumentsDao* m_before;
};

} // namespace

TEST(WindowReturn, SaysWhatItDoesToThePointsBeforeAndIsPaid)
{
    Cashier cashier;
    cashier.sell(u"2000000000055"_s);
    cashier.spend(u"100"_s);
    cashier.press(Qt::Key_F9);
    ASSERT_FALSE(cashier.checkout().receipt()) << cashier.notice().toStdString();

    cashier.atDialog([&](QDialog& dialog) {
        EXPECT_EQ(dialog.findChild<QListWidget*>()->count(), 1);
        EXPECT_THAT(wordsOf(dialog), HasSubstr("Отметьте, что возвращает покупатель"));
        cashier.touch(u"Вернуть всё"_s);
        EXPECT_THAT(
            wordsOf(dialog),
            HasSubstr(
                "К возврату 478,90 ₽. Вернётся скидка баллами: 100,00 ₽"));
        picture(cashier.window(), u"behind-return"_s);
        picture(dialog, u"return"_s);
        cashier.press(Qt::Key_F9);
    });
    cashier.press(Qt::Key_F10);
    ASSERT_TRUE(cashier.checkout().receipt()) << cashier.notice().toStdString();
    EXPECT_EQ(cashier.model().state(), till::State::Return);
    cashier.press(Qt::Key_F9);
    EXPECT_FALSE(cashier.checkout().receipt()) << cashier.notice().toStdString();
    EXPECT_EQ(cashier.notice(), u"Возврат закрыт"_s);
}

TEST(WindowReturn, TakesAPartAndOffersOnlyTheRestLater)
{
    Cashier cashier;
    cashier.sell();
    cashier.press(Qt::Key_F9);
    cashier.atDialog([&](QDialog& dialog) {
        cashier.touch(u"Больше"_s);
        cashier.touch(u"Больше"_s); // one was sold
        EXPECT_THAT(wordsOf(dialog),
                    HasSubstr("К возврату 89,90 ₽. Карты в чеке не было"));
        cashier.press(Qt::Key_F9);
    });
    cashier.press(Qt::Key_F10);
    cashier.press(Qt::Key_F9);
    cashier.atDialog([&](QDialog& dialog) {
        cashier.touch(u"Вернуть всё"_s);
        EXPECT_THAT(wordsOf(dialog), HasSubstr("К возврату 489,00 ₽"));
        cashier.press(Qt::Key_Escape);
    });
    cashier.press(Qt::Key_F10);
    EXPECT_FALSE(cashier.checkout().receipt());
    EXPECT_EQ(cashier.dialogs(), 2);
}

TEST(WindowReturn, OfAWeightTakesAllOfTheRestThoughUnitsWereTakenBefore)
{
    Cashier cashier;
    cashier.sell();
    cashier.model().setQuantity(1, 2.352);
    cashier.press(Qt::Key_F9);
    for (const QString& take : {u"Больше"_s, u"Вернуть всё"_s}) {
        cashier.atDialog([&](QDialog&) {
            cashier.touch(take);
            cashier.press(Qt::Key_F9);
        });
        cashier.press(Qt::Key_F10);
        cashier.press(Qt::Key_F9);
    }
    EXPECT_EQ(cashier.till().turnover().closed.size(), 3) << cashier.notice().toStdString();
    const auto last = DocumentsDao().loadDocument(cashier.till().turnover().closed.last(), false);
    ASSERT_TRUE(last);
    EXPECT_EQ(last->getGoodsItemByPosnum(1)->getBquant(), 1.352);
}

TEST(WindowReturn, OfAQuantityBelowAThousandthIsRefusedInWords)
{
    Cashier cashier;
    const auto sale = QSharedPointer<Document>::create(SaleReceipt, u"R-1"_s);
    sale->addGoodsItem(QSharedPointer<GoodsItem>::create(1, u"1"_s, u"Чай"_s, 1000, 0.0004));
    DocumentsDao().store(sale); // by a version that looked at no quantity
    cashier.atDialog([&](QDialog& dialog) {
        cashier.touch(u"Вернуть всё"_s);
        EXPECT_THAT(wordsOf(dialog),
                    HasSubstr("Позиция 1: количество — от 0,001 до 999 999,999, не мельче тысячных"));
        cashier.press(Qt::Key_F9);
        EXPECT_TRUE(dialog.isVisible()) << "it cannot be opened";
        cashier.press(Qt::Key_Escape);
    });
    cashier.press(Qt::Key_F10);
    EXPECT_EQ(cashier.dialogs(), 1);
    EXPECT_FALSE(cashier.checkout().receipt());
}

TEST(WindowReturn, OfAStoreThatFailsSaysSoAndOpensNothing)
{
    Cashier cashier;
    cashier.sell();
    cashier.press(Qt::Key_F9);
    cashier.atDialog([&](QDialog& dialog) {
        EXPECT_THAT(wordsOf(dialog), HasSubstr("Хранилище не читается"));
        cashier.press(Qt::Key_F4);
        cashier.press(Qt::Key_F9);
        EXPECT_TRUE(dialog.isVisible()) << "nothing can be given back";
        cashier.press(Qt::Key_Escape);
    });
    const InPlace failing(new FailingReceipts);
    cashier.press(Qt::Key_F10);
    EXPECT_EQ(cashier.dialogs(), 1);
    EXPECT_FALSE(cashier.checkout().receipt());
}

TEST(WindowReturn, SaysThatANumberCouldNotBeLookedForEverywhere)
{
    Cashier cashier;
    cashier.sell();
    cashier.press(Qt::Key_F9);
    cashier.atDialog([&](QDialog& dialog) {
        cashier.press(Qt::Key_F2);
        cashier.type(u"00-00"_s);
        EXPECT_EQ(dialog.findChild<QListWidget*>()->item(0)->text(), u"База магазина недоступна"_s);
        cashier.press(Qt::Key_Escape);
    });
    const InPlace far(new FarReceipts);
    cashier.press(Qt::Key_F10);
    EXPECT_EQ(cashier.dialogs(), 1);
}

TEST(WindowReturn, ShowsADamagedReceiptInALineAndGivesTheOthersBack)
{
    Cashier cashier;
    cashier.sell();
    cashier.press(Qt::Key_F9);
    cashier.atDialog([&](QDialog& dialog) {
        auto* list = dialog.findChild<QListWidget*>();
        ASSERT_EQ(list->count(), 2);
        EXPECT_EQ(list->item(0)->text(), u"R-9\nповреждён"_s);
        EXPECT_THAT(wordsOf(dialog), HasSubstr("Чек R-9 повреждён: вернуть по нему нельзя"));
        cashier.press(Qt::Key_F4);
        cashier.press(Qt::Key_F9);
        EXPECT_TRUE(dialog.isVisible()) << "nothing of it can be given back";
        cashier.press(Qt::Key_Down);
        cashier.press(Qt::Key_F4);
        cashier.press(Qt::Key_F9);
    });
    const InPlace damaged(new DamagedReceipt);
    cashier.press(Qt::Key_F10);
    EXPECT_TRUE(cashier.checkout().receipt()) << cashier.notice().toStdString();
}

TEST(WindowReturn, WithoutClosedReceiptsSaysSo)
{
    Cashier cashier;
    cashier.atDialog([&](QDialog& dialog) {
        EXPECT_THAT(wordsOf(dialog), HasSubstr("ни один чек ещё не оплачен"));
        cashier.press(Qt::Key_Escape);
    });
    cashier.press(Qt::Key_F10);
    EXPECT_EQ(cashier.dialogs(), 1);
}

} // namespace windowtest
