#include "till/window/style.h"

#include <QApplication>
#include <QPalette>
#include <QStyleFactory>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace till::window {

namespace {

int percentInForce = 100;

/// The smallest screen that the window is for, and the largest letters there.
constexpr QSize leastRoom(1024, 768);
constexpr int mostInLeastRoom = 150;

const QColor ink(0x17, 0x21, 0x2B);
const QColor quiet(0x4A, 0x57, 0x65);
const QColor paper(0xFF, 0xFF, 0xFF);
const QColor ground(0xEE, 0xF1, 0xF4);
const QColor edge(0xC3, 0xCB, 0xD4);
const QColor strongEdge(0x7C, 0x8A, 0x99);
const QColor accent(0x0B, 0x5C, 0xAD);
const QColor accentDeep(0x08, 0x45, 0x82);
const QColor accentPale(0xE3, 0xEE, 0xF9);
const QColor training(0xFF, 0xB3, 0x1A);
const QColor good(0x14, 0x5C, 0x33);
const QColor goodPale(0xE2, 0xF2, 0xE8);
const QColor warning(0x6B, 0x45, 0x00);
const QColor warningPale(0xFF, 0xF1, 0xD1);
const QColor bad(0x97, 0x14, 0x1A);
const QColor badPale(0xFC, 0xE6, 0xE6);
const QColor off(0x56, 0x61, 0x6D);
const QColor offGround(0xE2, 0xE6, 0xEA);
const QColor none;

QString ruleText(const TextRule& rule)
{
    const QString border =
        rule.edge.isValid() ? u" border: 1px solid %1;"_s.arg(rule.edge.name()) : QString();
    const QString letters = rule.fromPalette ? QString() : u"color: %1; "_s.arg(rule.text.name());
    return u"%1 { %2background: %3;%4 }\n"_s.arg(rule.selector, letters, rule.ground.name(), border);
}

/// Everything but colours; $ stands before a length that grows with the letters.
const QString shapes = uR"(
* { font-family: "DejaVu Sans"; font-size: $15px; }
QLabel, QPushButton { background: transparent; }
QFrame[panel="true"] { border-radius: 8px; }
QPushButton { border-radius: 6px; padding: 2px 8px; min-height: 40px; outline: 0; }
QPushButton[role="primary"] { font-size: $19px; font-weight: bold; min-height: 54px; }
QPushButton[role="tab"] { padding: 2px 4px; font-size: $13px; }
QPushButton[role="goods"] { font-size: $13px; padding: 2px 4px; min-height: 46px; }
QPushButton[role="small"] { font-size: $13px; padding: 2px 4px; min-width: 40px; }
QPushButton[role="second"] { min-height: 54px; }
QPushButton[role="digit"] { font-size: $20px; min-height: 54px; min-width: 64px; }
QLineEdit { border-radius: 6px; padding: 2px 8px; min-height: 40px; font-size: $17px; }
QLabel[role="title"] { font-size: $20px; font-weight: bold; }
QLabel[role="name"] { font-size: $17px; font-weight: bold; }
QLabel[role="small"] { font-size: $13px; }
QLabel[role="total"] { font-size: $28px; font-weight: bold; }
QLabel[role="headline"] { font-size: $30px; font-weight: bold; }
QLabel[role="training"] { font-size: $15px; font-weight: bold; padding: 2px 12px; }
QLabel[role="status"] { font-size: $14px; padding: 4px 12px; }
QLabel[notice] { font-size: $15px; padding: 4px 12px; border-radius: 6px; }
QTableWidget { border-radius: 8px; padding: 2px; outline: 0; gridline-color: transparent; }
QTableWidget::item { padding: 3px 6px; }
QHeaderView::section { font-size: $13px; padding: 6px 9px; border: 0; border-bottom: 1px solid #C3CBD4; }
QListWidget { border-radius: 8px; padding: 4px; outline: 0; }
QListWidget::item { padding: 10px 8px; min-height: 28px; }
QListWidget[role="lines"] { padding: 4px 12px; }
QListWidget[role="lines"]::item { padding: 4px 0; min-height: 20px; }
QFrame#waiting { border-radius: 10px; }
QScrollBar:vertical { width: 14px; background: transparent; }
QScrollBar::handle:vertical { background: #A9B4BF; border-radius: 7px; min-height: 44px; }
QScrollBar::add-line, QScrollBar::sub-line { height: 0; }
)"_s;

/// The shapes with their lengths in pixels.
QString scaledShapes()
{
    QString text;
    const QStringList parts = shapes.split(u'$');
    text += parts.first();
    for (const QString& part : parts.sliced(1)) {
        const qsizetype end = part.indexOf(u'p');
        text += QString::number(scaled(part.first(end).toInt())) + part.sliced(end);
    }
    return text;
}

} // namespace

const QList<TextRule>& textRules()
{
    static const QList<TextRule> rules{
        {u"QMainWindow, QDialog, QWidget#desk"_s, ink, ground, none},
        {u"QFrame[panel=\"true\"]"_s, ink, paper, edge},
        {u"QFrame[panel=\"true\"] QLabel"_s, ink, paper, none},
        {u"QFrame[panel=\"true\"] QLabel[role=\"small\"]"_s, quiet, paper, none},
        {u"QLabel[role=\"hint\"]"_s, quiet, ground, none},
        {u"QFrame#header"_s, paper, ink, none},
        {u"QFrame#header QLabel"_s, paper, ink, none},
        {u"QLabel[role=\"status\"]"_s, ink, paper, none},
        {u"QLabel[role=\"status\"][state=\"warning\"]"_s, warning, warningPale, none},
        {u"QLabel[role=\"status\"][state=\"bad\"]"_s, bad, badPale, none},
        {u"QLabel[role=\"training\"]"_s, ink, training, none},
        {u"QLabel[role=\"prompt\"]"_s, paper, accentDeep, none},
        {u"QLabel[notice=\"plain\"]"_s, ink, ground, none},
        {u"QLabel[notice=\"good\"]"_s, good, goodPale, none},
        {u"QLabel[notice=\"warning\"]"_s, warning, warningPale, none},
        {u"QLabel[notice=\"bad\"]"_s, bad, badPale, none},
        {u"QPushButton"_s, accentDeep, paper, strongEdge},
        {u"QPushButton:pressed"_s, accentDeep, accentPale, accent},
        {u"QPushButton:focus"_s, accentDeep, accentPale, accent},
        {u"QFrame#header QPushButton"_s, paper, ink, strongEdge},
        {u"QFrame#header QPushButton:pressed"_s, paper, accentDeep, strongEdge},
        {u"QPushButton[role=\"primary\"]"_s, paper, accent, accent},
        {u"QPushButton[role=\"primary\"]:pressed"_s, paper, accentDeep, accentDeep},
        {u"QPushButton[role=\"primary\"]:focus"_s, paper, accentDeep, ink},
        {u"QPushButton[role=\"danger\"]"_s, bad, paper, strongEdge},
        {u"QPushButton[role=\"danger\"]:focus"_s, bad, badPale, bad},
        {u"QPushButton[role=\"tab\"]:checked"_s, paper, accentDeep, accentDeep},
        {u"QPushButton:disabled"_s, off, offGround, edge},
        {u"QPushButton[role=\"primary\"]:disabled"_s, off, offGround, edge},
        {u"QLineEdit"_s, quiet, paper, strongEdge, true},
        {u"QLineEdit:focus"_s, quiet, paper, accent, true},
        {u"QLineEdit:disabled"_s, off, offGround, edge, true},
        {u"QTableWidget"_s, ink, paper, edge},
        {u"QTableWidget::item"_s, ink, paper, none},
        {u"QTableWidget::item:selected"_s, ink, accentPale, none},
        {u"QHeaderView::section, QHeaderView"_s, quiet, paper, none},
        {u"QListWidget"_s, ink, paper, edge},
        {u"QListWidget::item"_s, ink, paper, none},
        {u"QListWidget::item:selected"_s, ink, accentPale, none},
        {u"QFrame#waiting QLabel"_s, paper, ink, none},
        {u"QFrame#waiting"_s, paper, ink, none},
    };
    return rules;
}

QSize roomFor(int percent) { return leastRoom * std::max(1.0, double(percent) / mostInLeastRoom); }

int fittingScale(int wanted, const QSize& room)
{
    const int most = std::min(mostInLeastRoom * room.width() / leastRoom.width(),
                              mostInLeastRoom * room.height() / leastRoom.height());
    return std::clamp(most, leastScale, wanted);
}

bool isCompact() { return percentInForce > 115; }

int scaled(int pixels) { return pixels * percentInForce / 100; }

void applyStyle(QApplication& application, int percent)
{
    percentInForce = percent;
    QApplication::setStyle(QStyleFactory::create(u"Fusion"_s));
    QFont font(QString::fromLatin1(fontFamily));
    font.setPixelSize(scaled(15));
    QApplication::setFont(font);
    QPalette palette(ground);
    palette.setColor(QPalette::Text, ink);
    palette.setColor(QPalette::WindowText, ink);
    palette.setColor(QPalette::PlaceholderText, quiet);
    palette.setColor(QPalette::Disabled, QPalette::Text, off);
    palette.setColor(QPalette::Disabled, QPalette::PlaceholderText, off);
    palette.setColor(QPalette::Highlight, accent);
    palette.setColor(QPalette::HighlightedText, paper);
    QApplication::setPalette(palette);
    QString sheet = scaledShapes();
    if (isCompact())
        sheet += u"QHeaderView::section { padding-left: 3px; }\n"_s; // the names of the goods need the room
    for (const TextRule& rule : textRules())
        sheet += ruleText(rule);
    application.setStyleSheet(sheet);
}

} // namespace till::window
