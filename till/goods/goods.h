#pragma once

#include <QString>
#include <QStringList>

namespace till {

/// Something that this till sells.
struct Goods
{
    QString articul;
    QString name;
    double price; ///< money for one unit
    QStringList barcodes = {};
    QString unit = {}; ///< as the shop writes it, "кг"; empty: pieces
    int place = 0;     ///< of its button, from 1; 0: it has none
};

/// Buttons that the window has room for.
inline constexpr int mostPlaces = 8;

/// Whether its unit is the kilogram, so that scales say how much of it is sold.
bool isWeighed(const Goods& goods);

} // namespace till
