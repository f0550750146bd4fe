#include "tests/journey/window/cashier.h"
#include "tests/journey/window/colours.h"

#include "tests/support/httpserver.h"
#include "till/window/dialogs/inputdialog.h"
#include "till/window/namedelegate.h"
#include "till/window/panels/positionstable.h"
#include "till/window/style.h"
#include "till/window/widgets.h"

#include <QAbstractButton>
#include <QApplication>
#include <QFontInfo>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QScrollArea>

using namespace Qt::StringLiterals;
using test_support::HttpAnswer;
using test_support::HttpServer;

namespace windowtest {

namespace {

/// What a label or button needs more than it has, in pixels; 0 or less: nothing is cut.
int missing(const QWidget& widget)
{
    if (const auto* label = qobject_cast<const QLabel*>(&widget)) {
        if (label->wordWrap())
            return label->heightForWidth(label->width()) - label->height();
        return label->minimumSizeHint().width() - label->width();
    }
    const auto& button = static_cast<const QAbstractButton&>(widget);
    int widest = 0;
    const QStringList lines = button.text().split(u'\n');
    for (const QString& line : lines)
        widest = std::max(widest, button.fontMetrics().horizontalAdvance(line));
    const int height = static_cast<int>(lines.size()) * button.fontMetrics().height();
    return std::max(widest - (button.width() - 6), height - (button.height() - 4));
}

bool canBeScrolled(const QWidget& widget)
{
    for (const QWidget* parent = widget.parentWidget(); parent; parent = parent->parentWidget()) {
        if (qobject_cast<const QScrollArea*>(parent))
            return true;
    }
    return false;
}

void expectNothingCut(const QWidget& window, const QString& where)
{
    for (const QWidget* widget : window.findChildren<QWidget*>()) {
        const bool hasText =
            qobject_cast<const QLabel*>(widget) || qobject_cast<const QAbstractButton*>(widget);
        if (!hasText || !widget->isVisible() || widget->objectName().startsWith(u"qt_"_s))
            continue;
        const auto* label = qobject_cast<const QLabel*>(widget);
        const auto* button = qobject_cast<const QAbstractButton*>(widget);
        const QString text = label ? label->text() : button->text();
        if (text.isEmpty())
            continue;
        EXPECT_LE(missing(*widget), 0) << where.toStdString() << ": \"" << text.toStdString() << '"';
        const QRect inside = QRect(widget->mapTo(&window, QPoint(0, 0)), widget->size());
        EXPECT_TRUE(canBeScrolled(*widget) || window.rect().contains(inside))
            << where.toStdString() << ": outside: " << text.toStdString();
    }
    for (const QTableWidget* table : window.findChildren<QTableWidget*>()) {
        for (int row = 0; table->isVisible() && row < table->rowCount(); ++row) {
            for (int column = 1; column < table->columnCount(); ++column) {
                if (table->isColumnHidden(column))
                    continue;
                const QString text = table->item(row, column)->text();
                EXPECT_LE(table->fontMetrics().horizontalAdvance(text) + 12, table->columnWidth(column))
                    << where.toStdString() << ": " << text.toStdString();
            }
        }
    }
}

/// What no column has room for stands below the name, and a number that is cut would be another number.
void expectWholeReductions(const QWidget& window)
{
    const auto& table = *window.findChild<till::window::PositionsTable*>();
    const QTableWidgetItem& cell = *table.item(1, 0);
    const QStringList shown =
        till::window::NameDelegate::fitted(cell.text(), table.font(), table.columnWidth(0) - 12);
    for (const QString& part : cell.text().section(u'\n', 1).split(till::window::partsBelowName))
        EXPECT_TRUE(shown.join(u'\n').contains(part)) << shown.join(u'\n').toStdString();
    EXPECT_GE(table.rowHeight(1), shown.size() * table.fontMetrics().height());
}

struct Look
{
    QSize size = {1024, 768};
    int scale = 100;
    QString language = {};
};

class WindowLooks : public testing::TestWithParam<Look>
{
protected:
    [[nodiscard]] static Cashier::Setup setup()
    {
        return {.scale = GetParam().scale, .size = GetParam().size, .language = GetParam().language};
    }
};

std::string nameOf(const Look& look)
{
    return u"%1x%2At%3%4"_s
        .arg(QString::number(look.size.width()), QString::number(look.size.height()),
             QString::number(look.scale), look.language)
        .toStdString();
}

const QString english = u"en"_s;
const QList<Look> looks{
    {{1024, 768}, 100},           {{1024, 768}, 100, english}, {{1024, 768}, 125, english},
    {{1024, 768}, 150},           {{1024, 768}, 200, english}, {{1366, 768}, 150},
    {{1366, 768}, 200, english},  {{1920, 1080}, 100},         {{1920, 1080}, 200},
    {{1920, 1080}, 200, english}, {{3840, 2160}, 200},         {{3840, 2160}, 200, english}};

} // namespace

TEST(WindowColours, EveryTextStandsOutAgainstItsGround)
{
    for (const auto& rule : till::window::textRules())
        EXPECT_GE(contrast(rule.text, rule.ground), 4.5) << rule.selector.toStdString();
    EXPECT_NEAR(contrast(Qt::black, Qt::white), 21, 0.01);
}

TEST(WindowLetters, AreAsLargeAsTheScreenHasRoomFor)
{
    using till::window::fittingScale;
    EXPECT_EQ(fittingScale(200, {1024, 768}), 150);
    EXPECT_EQ(fittingScale(125, {1024, 768}), 125);
    EXPECT_EQ(fittingScale(200, {1920, 1080}), 200);
    EXPECT_EQ(fittingScale(200, {800, 600}), 117);
    EXPECT_EQ(fittingScale(100, {640, 480}), 100);
}

TEST_P(WindowLooks, NoTextIsCutInTheMainStates)
{
    Cashier::Setup wanted = setup();
    wanted.smsVerification = true;
    Cashier cashier(wanted);
    expectNothingCut(cashier.window(), u"between"_s);
    cashier.sell(u"2000000000055"_s);
    expectNothingCut(cashier.window(), u"customer"_s);
    EXPECT_EQ(cashier.window().size(), GetParam().size) << "it needs more room than there is";
    if (GetParam().size.width() == 1024 && GetParam().language.isEmpty())
        picture(cashier.window(), u"scale-%1"_s.arg(GetParam().scale));
    cashier.atDialog([&](QDialog& dialog) {
        expectNothingCut(dialog, u"code"_s);
        EXPECT_LE(dialog.height(), GetParam().size.height());
        EXPECT_LE(dialog.width(), GetParam().size.width());
        cashier.type(u"1234"_s);
        cashier.press(Qt::Key_Return);
    });
    cashier.spend(u"100"_s);
    EXPECT_EQ(cashier.dialogs(), 1);
    expectNothingCut(cashier.window(), u"spent"_s);
    cashier.press(Qt::Key_F9);
    expectNothingCut(cashier.window(), u"paid"_s);
    cashier.atDialog([&](QDialog& dialog) {
        cashier.touch(tr::shown(u"windowReturnAll"_s, u"Вернуть всё"_s));
        expectNothingCut(dialog, u"return"_s);
        cashier.press(Qt::Key_Escape);
    });
    cashier.press(Qt::Key_F10);
}

TEST_P(WindowLooks, NoTextIsCutWhenTheBalanceIsGreat)
{
    HttpServer server;
    server.enqueue(HttpAnswer::status(200, R"({"data":{"card_data":{"status":3}}})"));
    server.enqueue(HttpAnswer::status(200, R"({"data":{"accounts_data":[{"avialable":"99999.99"}]}})"));
    server.enqueue(HttpAnswer::status(
        200, R"({"data":{"receipt_details":[{"parameters":{"max_payment_bonus":999.98}}]}})"));
    Cashier::Setup wanted = setup();
    wanted.serverUrl = server.url().toString();
    Cashier cashier(wanted);
    cashier.model().openSale({{.articul = u"4601"_s, .name = u"Кольцо"_s, .price = 999.99, .quantity = 1}});
    cashier.scan(u"2000000000055"_s);
    cashier.type(u"999,98"_s);
    EXPECT_THAT(cashier.screen().toStdString(), testing::HasSubstr("99 999,99 − 999,98"));
    expectNothingCut(cashier.window(), u"great sums"_s);
    EXPECT_EQ(cashier.window().size(), GetParam().size) << "it needs more room than there is";
}

// As much of everything as there may be.
TEST_P(WindowLooks, NothingWidensOrHeightensTheWindow)
{
    const QByteArray name = QString(u"Длинное имя "_s).repeated(25).toUtf8();
    HttpServer server;
    server.enqueue(HttpAnswer::status(200, R"({"data":{"card_data":{"status":3}}})"));
    server.enqueue(HttpAnswer::status(200, R"({"data":{"user_data":{"first_name":")" + name +
                                               R"(","last_name":")" + QByteArray(300, 'W') +
                                               R"("},"accounts_data":[{"avialable":"999999999999.99"}]}})"));
    for (int times = 0; times < 2; ++times) // before the points are typed, and before they are spent
        server.enqueue(HttpAnswer::status(
            200, R"({"data":{"receipt_details":[{"parameters":{"max_payment_bonus":999999999999.99}}]}})"));
    const QString reason = u"Служба отвечает очень подробно. "_s.repeated(63); // about 2000
    Cashier::Setup wanted = setup();
    wanted.serverUrl = server.url().toString();
    Cashier cashier(wanted);
    QList<till::Line> lines{{.articul = QString(300, u'9'),
                             .name = QString(300, u'W'),
                             .price = 999'999'999'999.99,
                             .quantity = 1}};
    while (lines.size() < 200)
        lines.append({.articul = u"4601"_s,
                      .name = u"Очень длинное название "_s.repeated(13),
                      .price = 9999.99,
                      .quantity = 1,
                      .discount = 999.99});
    cashier.model().openSale(lines);
    ASSERT_TRUE(cashier.checkout().receipt()) << cashier.notice().toStdString();
    cashier.scan(u"2000000000055"_s);
    ASSERT_TRUE(cashier.checkout().card()) << cashier.notice().toStdString();
    expectWholeReductions(cashier.window());
    cashier.model().say(till::window::Notice::Kind::Bad, reason);
    for (const int page : {1, 2, 0}) {
        cashier.press(Qt::Key_F12);
        expectNothingCut(cashier.window(), u"page %1"_s.arg(page));
        EXPECT_EQ(cashier.window().size(), GetParam().size) << "page " << page;
        picture(cashier.window(),
                u"full-"_s + QString::fromStdString(nameOf(GetParam())) + u"-%1"_s.arg(page));
    }
    for (const auto* label : cashier.window().findChildren<QLabel*>()) {
        const auto* sum = dynamic_cast<const till::window::SumLabel*>(label);
        if (sum && sum->isVisible()) {
            EXPECT_GE(sum->fittingFont().pixelSize(), 11) << sum->text().toStdString();
        }
    }
    const auto* next = cashier.window().findChild<QWidget*>(u"next"_s);
    EXPECT_TRUE(next->visibleRegion().boundingRect().contains(next->rect())) << "the pay button is covered";
}

INSTANTIATE_TEST_SUITE_P(Sizes, WindowLooks, testing::ValuesIn(looks),
                         [](const auto& look) { return nameOf(look.param); });

TEST(WindowAccess, TheFontIsTheOneThatTheLooksWereMadeWith)
{
    Cashier cashier;
    EXPECT_EQ(QFontInfo(cashier.window().font()).family(), QString::fromLatin1(till::window::fontFamily));
    const QFontMetrics metrics(cashier.window().font());
    for (const QChar digit : u"23456789"_s)
        EXPECT_EQ(metrics.horizontalAdvance(digit), metrics.horizontalAdvance(u'1')) << "sums do not align";
}

TEST(WindowAccess, EveryControlHasANameAndATargetForAFinger)
{
    Cashier cashier;
    cashier.sell(u"2000000000055"_s);
    for (const QWidget* widget : cashier.window().findChildren<QWidget*>()) {
        const auto* button = qobject_cast<const QAbstractButton*>(widget);
        const bool isControl =
            (button && !button->inherits("QTableCornerButton")) || qobject_cast<const QLineEdit*>(widget);
        if (!isControl || !widget->isVisible())
            continue;
        EXPECT_FALSE(widget->accessibleName().isEmpty()) << widget->metaObject()->className();
        EXPECT_GE(widget->height(), till::window::leastTarget) << widget->accessibleName().toStdString();
        EXPECT_GE(widget->width(), till::window::leastTarget) << widget->accessibleName().toStdString();
    }
}

TEST(WindowAccess, TabReachesEveryEntryAndActionAndComesBack)
{
    Cashier cashier;
    cashier.sell(u"2000000000055"_s);
    cashier.press(Qt::Key_F2);
    const QWidget* first = QApplication::focusWidget();
    QStringList seen;
    for (int i = 0; i < 60; ++i) {
        cashier.press(Qt::Key_Tab);
        if (QApplication::focusWidget() == first)
            break;
        ASSERT_TRUE(QApplication::focusWidget());
        seen.append(QApplication::focusWidget()->accessibleName());
    }
    EXPECT_EQ(QApplication::focusWidget(), first) << seen.join(u", "_s).toStdString();
    for (const QString& name : {u"Карта или телефон покупателя"_s, u"Сколько баллов списать"_s, u"Оплатить"_s,
                                u"Отменить чек"_s, u"Количество"_s, u"Товары в чеке"_s})
        EXPECT_TRUE(seen.contains(name)) << name.toStdString();
}

TEST(WindowDialogs, HeedTheOptionsOfTheRequest)
{
    Cashier cashier;
    TextInputRequest request(tr::Tr(u"t"_s, u"Вопрос"_s), tr::Tr(u"m"_s, u"Введите"_s));
    request.hidden = true;
    request.trimmed = true;
    request.uppercased = true;
    request.cancelAllowed = false;
    till::window::InputDialog dialog(request, &cashier.window());
    cashier.atDialog([&](QDialog& open) {
        EXPECT_EQ(open.findChild<QLineEdit*>()->echoMode(), QLineEdit::Password);
        cashier.press(Qt::Key_Escape);
        EXPECT_TRUE(open.isVisible()) << "it may not be cancelled";
        cashier.type(u" абв "_s);
        cashier.press(Qt::Key_Return);
    });
    const auto answer = dialog.ask();
    EXPECT_FALSE(answer.canceled());
    EXPECT_EQ(answer.getData(), u"АБВ"_s);
}

TEST(WindowDialogs, AListThatMayNotBeClosedStays)
{
    Cashier cashier;
    ChoiceRequest request;
    request.title = tr::Tr(u"t"_s, u"Выбор"_s);
    request.items = tr::TrList(QList<QString>{u"первый"_s, u"второй"_s});
    request.closable = false;
    cashier.atDialog([&](QDialog& open) {
        cashier.press(Qt::Key_Escape);
        EXPECT_TRUE(open.isVisible());
        cashier.press(Qt::Key_Down);
        cashier.press(Qt::Key_Return);
    });
    EXPECT_EQ(cashier.frontend().chooseFromList(request), 1);
}

} // namespace windowtest
