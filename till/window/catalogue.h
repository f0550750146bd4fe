#pragma once

#include <QList>
#include <QString>

namespace till::window {

/// Something that this till sells.
struct Goods
{
    QString articul;
    QString name;
    double price; ///< money for one unit
};

/// A few goods to try the till with.
const QList<Goods>& catalogue();

/// The one of that article, or null.
const Goods* findGoods(const QString& articul);

} // namespace till::window
