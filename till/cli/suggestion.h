#pragma once

#include <QString>
#include <QStringList>

namespace till {

/// `"; did you mean X?"` for the known name that is a slip of the finger away, else `"; known are A, B"`.
QString suggestion(const QString& wrong, const QStringList& known);

} // namespace till
