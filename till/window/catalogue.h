#pragma once

#include <QList>
#include <QString>
#include <QStringList>

namespace till::window {

/// Something that this till sells.
struct Goods
{
    QString articul;
    QString name;
    double price; ///< money for one unit
    QStringList barcodes = {};
};

/// A few goods to try the till with.
const QList<Goods>& catalogue();

/// The one that is called so by its article, by a barcode, or by a marking code, which begins with the
/// barcode; null: there is none.
const Goods* findGoods(const QString& code);

} // namespace till::window
