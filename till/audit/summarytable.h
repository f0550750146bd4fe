#pragma once

#include "till/audit/summary.h"

#include <QList>
#include <QStringList>

namespace till {

/// The summaries as lines of a table, with a heading and a total, in English.
QStringList summaryTable(const QList<Summary>& summaries);

/// "agrees", "differs", or a dash when nobody compared.
QString ledgerText(const Summary& summary);

} // namespace till
