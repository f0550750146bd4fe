#pragma once

#include <QString>
#include <QStringList>

namespace till {

/// One line of comma-separated values.
struct CsvLine
{
    QStringList fields; ///< without blanks and quotes around them; those before the mistake when there is one
    QString problem = {}; ///< what is wrong with the field behind them, and what to do, in English
};

/// Splits a line at the separator. A field with a separator in it stands in quotes, and a quote within those
/// is doubled. A field ends on its line: so a quote that nobody closes is found where it is.
CsvLine splitCsv(QStringView line, QChar separator);

} // namespace till
