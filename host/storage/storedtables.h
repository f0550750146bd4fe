#pragma once

#include "host/utils/export.h"

#include <QList>
#include <QString>
#include <QStringList>
#include <QVariantList>

/// What the rows of the store's tables look like, for who meets them outside SQLite.
namespace storage {

struct StoredTable
{
    QString name;
    QStringList columns;
    /// A letter for each column: t text, i whole number, b bytes; T, I and B may be null; k is null, because
    /// it is the rowid's name.
    QByteArray form;
    bool isKept; ///< false: what it says follows from the others
};

/// Each table of a store, in the order in which they are put into another.
HOST_EXPORT const QList<StoredTable>& storedTables();

/// The one that such a row is of; null when it is of none.
HOST_EXPORT const StoredTable* tableOfRow(const QVariantList& values);

/// Why the row can't be what was kept, in English; empty when nothing is wrong with it as far as can be told:
/// texts and numbers beside a sealed content may have been altered unseen.
HOST_EXPORT QString faultOfRow(const QString& table, const QVariantList& values);

/// What tells one message from all others, whatever number it has in a store.
QByteArray messageIdentity(const QVariant& queue, const QVariant& receipt, const QVariant& enqueued,
                           const QVariant& text);

/// The same of any row that was in its table: an older state of it has the same.
HOST_EXPORT QByteArray identityOfRow(const QString& table, const QVariantList& values);

} // namespace storage
