#pragma once

#include <QByteArray>
#include <QHash>
#include <QList>
#include <QMap>
#include <QSet>
#include <QString>

#include <random>

namespace rescuetest {

/// One row as it was kept, but for what another store gives it: the numbers of messages and entries.
struct Row
{
    QByteArray all;      ///< every other value
    QByteArray verified; ///< those of them that a seal vouches for
};

/// The rows of each table of a store that is sound, in their order. Looks at copies.
QMap<QString, QList<Row>> rowsOf(const QString& file, const QString& scratch);

/// A store that the till's own code has filled, as a kill leaves it: a part of it is in its log only.
struct KeptStore
{
    QString file; ///< its log beside it
    QMap<QString, QList<Row>> rows;
    /// On which pages each of them lies, by SQLite's word.
    QMap<QString, QList<QSet<quint32>>> pages;
    /// All that these tables ever held since the log was begun.
    QMap<QString, QSet<QByteArray>> ever;
    QMap<QString, QSet<QByteArray>> everVerified;
};

/// Fills one in that empty folder.
KeptStore keepStore(const QString& folder, std::mt19937& random);

} // namespace rescuetest
