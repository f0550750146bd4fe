#pragma once

#include <QString>
#include <QStringList>

namespace crashtest {

/// What the stand's books say, without what differs from run to run (times and numbers made of times): a line
/// for each operation, anonymous receipt and card balance, in an order of their own.
QStringList booksOf(const QString& standUrl);

/// In what the receipts of a data directory differ from the stand's books; none when they agree.
QStringList differences(const QString& dataDirectory, const QString& standUrl);

} // namespace crashtest
