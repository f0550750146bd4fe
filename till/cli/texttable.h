#pragma once

#include <QSet>
#include <QString>
#include <QStringList>

namespace till {

/// The rows as lines of text with their cells in columns, two blanks apart; every row has as many cells. What
/// stands in the columns of `right` stands at their right edge. Nothing follows the last cell.
QStringList aligned(const QList<QStringList>& rows, const QSet<qsizetype>& right = {});

/// How many columns of a terminal the text takes; a Cyrillic letter takes one, an ideograph two.
qsizetype textWidth(const QString& text);

} // namespace till
