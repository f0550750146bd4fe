#pragma once

#include <QColor>
#include <QFont>
#include <QList>
#include <QSize>
#include <QString>

class QApplication;

namespace till::window {

/// How letters are coloured on a ground; every text of the window is one of these.
struct TextRule
{
    QString selector; ///< in the style sheet's language
    QColor text;
    QColor ground;
    QColor edge;              ///< of the border; invalid: none
    bool fromPalette = false; ///< the palette says how the letters are coloured: a sheet would pale what
                              ///< stands in an empty field
};

const QList<TextRule>& textRules();

/// The family that everything is written in, whose digits are all of one width.
inline constexpr auto fontFamily = "DejaVu Sans";
/// What a finger hits, in pixels, whatever the size of the letters.
inline constexpr int leastTarget = 44;

/// How much larger than usual letters may be, in percent.
inline constexpr int leastScale = 100;
inline constexpr int mostScale = 200;

/// As many percent of `wanted` as leave room for all that the window has to show, when there is `room`.
int fittingScale(int wanted, const QSize& room);

/// What the window takes with such letters.
QSize roomFor(int percent);

/// Makes the application look as designed; letters are `percent` of their usual size, leastScale to
/// mostScale.
void applyStyle(QApplication& application, int percent);

/// Whether the letters are so large that what only helps gives way to what is needed.
bool isCompact();

/// A length of the usual size, in the pixels of the size in force.
int scaled(int pixels);

} // namespace till::window
