#include "tests/journey/window/cashier.h"

#include <QClipboard>
#include <QGuiApplication>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QProcess>

using namespace Qt::StringLiterals;
using testing::AnyOf;
using testing::HasSubstr;
using testing::Not;

namespace windowtest {

namespace {

const QString card = u"2000000000055"_s;
const QSize screenSize(1024, 768);

void paste(Cashier& cashier, const QString& text)
{
    QGuiApplication::clipboard()->setText(text);
    cashier.press(Qt::Key_V, Qt::ControlModifier);
}

} // namespace

TEST(WindowWidth, StaysWhateverIsScannedPastedOrCalledSo)
{
    Cashier cashier;
    cashier.scan(u"010290000009999921"_s + QString(139, u'x'));
    EXPECT_EQ(cashier.window().size(), screenSize) << "after a marking code that nobody knows";
    cashier.press(Qt::Key_F2);
    paste(cashier, QString(5000, u'W'));
    EXPECT_EQ(cashier.takeBeeps(), 2) << "not all of it was taken";
    EXPECT_THAT(cashier.notice().toStdString(), HasSubstr("здесь не больше 200 знаков"));
    cashier.press(Qt::Key_Return);
    EXPECT_EQ(cashier.window().size(), screenSize) << "after a pasted article";
    cashier.model().openSale(
        {{.articul = QString(300, u'9'), .name = QString(500, u'W'), .price = 10, .quantity = 1}});
    cashier.press(Qt::Key_F3);
    paste(cashier, QString(3000, u'W'));
    cashier.press(Qt::Key_Return);
    EXPECT_EQ(cashier.window().size(), screenSize) << "after a pasted customer";
    cashier.model().say(till::window::Notice::Kind::Plain, QString(5000, u'W'));
    cashier.press(Qt::Key_F2); // the window makes room for it now
    EXPECT_EQ(cashier.window().size(), screenSize) << "after a long word";
    cashier.model().say(till::window::Notice::Kind::Plain, QString(u"слово "_s).repeated(900));
    cashier.press(Qt::Key_F2);
    EXPECT_EQ(cashier.window().size(), screenSize) << "after a long text";
    const auto* next = cashier.window().findChild<QWidget*>(u"next"_s);
    EXPECT_TRUE(QRect(QPoint(0, 0), screenSize)
                    .contains(QRect(next->mapTo(&cashier.window(), QPoint(0, 0)), next->size())));
    picture(cashier.window(), u"long-texts"_s);
}

TEST(WindowWidth, OfADialogStaysToo)
{
    Cashier cashier;
    cashier.model().openSale({{.articul = u"1"_s, .name = QString(900, u'W'), .price = 10, .quantity = 1}});
    cashier.atDialog([&](QDialog& dialog) {
        EXPECT_LE(dialog.width(), 700);
        EXPECT_LE(dialog.height(), 700);
        paste(cashier, QString(3000, u'7'));
        EXPECT_EQ(cashier.takeBeeps(), 1);
        EXPECT_THAT(wordsOf(dialog), HasSubstr("здесь не больше 120 знаков"));
        EXPECT_LE(dialog.width(), 700);
        cashier.press(Qt::Key_Escape);
    });
    cashier.press(Qt::Key_F4);
    EXPECT_EQ(cashier.dialogs(), 1);
}

TEST(WindowGoods, OfALongNameTakeTwoLinesAndTheArticleOne)
{
    Cashier cashier;
    cashier.model().openSale({{.articul = u"1"_s, .name = u"Чай"_s, .price = 10, .quantity = 1},
                              {.articul = QString(300, u'9'),
                               .name = QString(u"Напиток сильногазированный безалкогольный "_s).repeated(20),
                               .price = 10,
                               .quantity = 1},
                              {.articul = u"3"_s, .name = QString(500, u'W'), .price = 10, .quantity = 1}});
    const auto* table = cashier.window().findChild<till::window::PositionsTable*>();
    const int line = table->fontMetrics().height();
    EXPECT_LT(table->rowHeight(0), 3 * line);
    for (const int row : {1, 2}) {
        EXPECT_GE(table->rowHeight(row), 3 * line) << row;
        EXPECT_LT(table->rowHeight(row), 4 * line) << row;
    }
    EXPECT_THAT(cashier.screen().toStdString(), HasSubstr("1. Чай"));
    EXPECT_THAT(cashier.screen().toStdString(), HasSubstr("Сумма, 3 поз."));
}

TEST(WindowGoods, AreNamedInTheDialogsOfQuantityAndDiscount)
{
    Cashier cashier;
    cashier.sell();
    for (const Qt::Key key : {Qt::Key_F4, Qt::Key_F5}) {
        cashier.atDialog([&](QDialog& dialog) {
            EXPECT_THAT(wordsOf(dialog), HasSubstr("2. Кофе, 250 г"));
            cashier.press(Qt::Key_Escape);
        });
        cashier.press(key);
    }
    EXPECT_EQ(cashier.dialogs(), 2);
}

TEST(WindowStatus, PromisesNoEarningWithoutACustomer)
{
    Cashier cashier;
    cashier.sell();
    cashier.till().setServiceUp(false);
    cashier.identify(card);
    EXPECT_EQ(cashier.status(), u"Покупатель не указан, связи со службой нет: карту не найти"_s);
}

TEST(WindowQueue, HasNoLatinName)
{
    Cashier cashier;
    cashier.sell();
    cashier.till().setServiceUp(false);
    cashier.press(Qt::Key_F9);
    cashier.press(Qt::Key_F12);
    EXPECT_THAT(linesOf(cashier, u"Очередь отправки"_s), HasSubstr("чек без карты, чек "));
    EXPECT_THAT(linesOf(cashier, u"Очередь отправки"_s), Not(HasSubstr("receipt")));
    cashier.press(Qt::Key_F12);
    EXPECT_THAT(linesOf(cashier, u"Ход чека"_s), HasSubstr("чек без карты: в очередь"));
    EXPECT_THAT(linesOf(cashier, u"Ход чека"_s), Not(HasSubstr("receipt")));
}

TEST(WindowTimeline, WrapsWhatIsTooLongForALine)
{
    Cashier cashier({.scale = 150});
    cashier.sell(card);
    cashier.spoilTheNext(u"force-payment-c2b"_s, R"("fault":"status","code":503)");
    cashier.spend(u"5"_s);
    cashier.press(Qt::Key_F12);
    cashier.press(Qt::Key_F12);
    for (auto* list : cashier.window().findChildren<QListWidget*>()) {
        for (int i = 0; list->isVisible() && i < list->count(); ++i) {
            const QRect place = list->visualItemRect(list->item(i));
            const QString text = list->item(i)->text();
            EXPECT_LE(place.width(), list->viewport()->width()) << text.toStdString();
            const int inside = place.width() - 6; // what the style keeps free
            const QRect needed =
                list->fontMetrics().boundingRect(QRect(0, 0, inside, 1000), Qt::TextWordWrap, text);
            EXPECT_LE(needed.height(), place.height()) << text.toStdString();
            EXPECT_LE(needed.width(), inside) << text.toStdString();
        }
    }
    picture(cashier.window(), u"timeline-150"_s);
}

TEST(WindowReturn, IsFoundByANumberOrAPartOfIt)
{
    Cashier cashier;
    QStringList numbers;
    for (int i = 0; i < 3; ++i) {
        cashier.sell();
        numbers.append(cashier.checkout().receipt()->getIdentifier());
        cashier.press(Qt::Key_F9);
    }
    cashier.atDialog([&](QDialog& dialog) {
        const auto* list = dialog.findChild<QListWidget*>();
        EXPECT_EQ(list->count(), 3);
        cashier.press(Qt::Key_F2);
        cashier.type(u"00-00"_s);
        EXPECT_EQ(list->item(0)->text(), u"Такого чека нет"_s);
        EXPECT_THAT(wordsOf(dialog), HasSubstr("Чека с таким номером нет"));
        for (int i = 0; i < 5; ++i)
            cashier.press(Qt::Key_Backspace);
        cashier.type(numbers[1]);
        EXPECT_EQ(list->count(), 1);
        EXPECT_TRUE(list->item(0)->text().startsWith(numbers[1]));
        cashier.press(Qt::Key_F4);
        cashier.press(Qt::Key_F9);
    });
    cashier.press(Qt::Key_F10);
    ASSERT_TRUE(cashier.checkout().receipt()) << cashier.notice().toStdString();
    EXPECT_EQ(cashier.checkout().receipt()->getSaleDocumentId().toString(), numbers[1]);
}

TEST(WindowProgram, WithADisplayThatIsNotThereEndsWithAWord)
{
    for (const QString& platform : {u""_s, u"xcb"_s}) {
        QProcess program;
        auto environment = QProcessEnvironment::systemEnvironment();
        environment.remove(u"WAYLAND_DISPLAY"_s);
        environment.insert(u"DISPLAY"_s, u":29876"_s);
        environment.insert(u"QT_QPA_PLATFORM"_s, platform);
        program.setProcessEnvironment(environment);
        program.start(QStringLiteral(TILL_PROGRAM), {u"window"_s});
        ASSERT_TRUE(program.waitForFinished());
        EXPECT_EQ(program.exitStatus(), QProcess::NormalExit);
        EXPECT_EQ(program.exitCode(), 2);
        EXPECT_THAT(program.readAllStandardError().toStdString(),
                    testing::AllOf(HasSubstr("display cannot be opened (DISPLAY is \":29876\""),
                                   HasSubstr("xvfb-run till window")));
    }
}

} // namespace windowtest
