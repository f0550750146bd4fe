#include "tests/journey/window/cashier.h"
#include "tests/journey/window/colours.h"

#include <QAbstractButton>
#include <QHash>
#include <QImage>
#include <QLabel>
#include <QLineEdit>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace windowtest {

// What stylesheets promise is one thing, what is on the screen another: here the pixels are asked.

namespace {

/// How much the strongest stroke of a picture stands out against what most of it is. Edges of letters are
/// blends of both, so they say less.
double contrastIn(const QImage& picture)
{
    QHash<QRgb, int> counts;
    for (int y = 0; y < picture.height(); ++y) {
        for (int x = 0; x < picture.width(); ++x)
            ++counts[picture.pixel(x, y)];
    }
    const auto most = std::max_element(counts.keyValueBegin(), counts.keyValueEnd(),
                                       [](const auto& a, const auto& b) { return a.second < b.second; });
    double best = 1;
    for (const QRgb colour : counts.keys())
        best = std::max(best, contrast(colour, (*most).first));
    return best;
}

QString textOf(const QWidget& widget)
{
    if (const auto* label = qobject_cast<const QLabel*>(&widget))
        return label->text();
    if (const auto* button = qobject_cast<const QAbstractButton*>(&widget))
        return button->text();
    if (const auto* field = qobject_cast<const QLineEdit*>(&widget))
        return field->text().isEmpty() ? field->placeholderText() : field->text();
    return {};
}

int expectLegible(QWidget& window, const char* state)
{
    const QImage picture = window.grab().toImage();
    int seen = 0;
    for (const QWidget* widget : window.findChildren<QWidget*>()) {
        // What cannot be used at the moment is dimmed on purpose.
        if (!widget->isVisible() || !widget->isEnabled() || textOf(*widget).trimmed().isEmpty())
            continue;
        // Without the frame, which is no text.
        const QRect inside =
            QRect(widget->mapTo(&window, QPoint(0, 0)), widget->size()).adjusted(4, 4, -4, -4);
        EXPECT_GE(contrastIn(picture.copy(inside.intersected(picture.rect()))), 4.5)
            << state << ": " << textOf(*widget).toStdString();
        ++seen;
    }
    return seen;
}

} // namespace

TEST(WindowContrast, OfEveryTextOnTheScreenIsEnoughInEachState)
{
    Cashier cashier;
    EXPECT_GE(expectLegible(cashier.window(), "at the start"), 10);
    cashier.sell(u"2000000000055"_s);
    EXPECT_GE(expectLegible(cashier.window(), "with a customer"), 20);
    cashier.spend(u"5000"_s);
    expectLegible(cashier.window(), "with a word of refusal");
    cashier.loseTheNextSpending();
    cashier.spend(u"100"_s);
    expectLegible(cashier.window(), "with an unknown outcome");
    cashier.press(Qt::Key_F9);
    cashier.press(Qt::Key_F9);
    expectLegible(cashier.window(), "paid");
    cashier.atDialog([&](QDialog& dialog) {
        cashier.touch(u"Вернуть всё"_s);
        EXPECT_GE(expectLegible(dialog, "in a return"), 5);
        cashier.press(Qt::Key_Escape);
    });
    cashier.press(Qt::Key_F10);
}

TEST(WindowContrast, OfAPictureIsThatOfItsStrongestStroke)
{
    QImage picture(20, 20, QImage::Format_RGB32);
    picture.fill(Qt::white);
    EXPECT_DOUBLE_EQ(contrastIn(picture), 1);
    picture.setPixelColor(3, 3, QColor(0x76, 0x76, 0x76));
    EXPECT_NEAR(contrastIn(picture), 4.54, 0.01);
    picture.setPixelColor(4, 3, Qt::black);
    EXPECT_NEAR(contrastIn(picture), 21, 0.01);
}

} // namespace windowtest
