#pragma once

#include "till/goods/goods.h"

#include <QByteArray>
#include <QList>

namespace till {

/// What is wrong with a file of goods, in English for the administrator.
struct GoodsProblem
{
    int line;       ///< from 1; 0: the file as a whole
    QString column; ///< its name; empty: the line as a whole
    QString text;   ///< with what to do
};

/// What a file of goods holds: goods, or problems, never both.
struct GoodsReading
{
    QList<Goods> goods = {};
    QList<GoodsProblem> problems = {}; ///< in the order of the file, the first of them
    int furtherProblems = 0;           ///< that are not listed
};

/// Reads comma-separated values in UTF-8, with or without its mark; semicolons take the place of commas where
/// the first line has one. That names the columns, in any order: article, barcodes, name, price, unit,
/// button. Of each line article, name and price are needed. Barcodes have blanks or semicolons between them;
/// a button is the number of its place.
GoodsReading readGoods(const QByteArray& content);

/// Reads that file; one that cannot be read has that as its problem.
GoodsReading readGoodsFile(const QString& fileName);

/// The problems, a line for each: "goods.csv:3: price: …".
QString problemsText(const QString& fileName, const GoodsReading& reading);

} // namespace till
