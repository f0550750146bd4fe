#pragma once

#include <QSqlDatabase>
#include <QString>
#include <QVariantList>

namespace test_support {

/// A connection of somebody else's to an SQLite file, to look into it or to damage it.
class RawDatabase
{
public:
    /// Throws std::runtime_error when it can't be opened.
    explicit RawDatabase(const QString& file);
    ~RawDatabase();
    Q_DISABLE_COPY_MOVE(RawDatabase)

    /// Runs one statement; the rows that it finds. Throws std::runtime_error with SQLite's reason.
    QList<QVariantList> run(const QString& sql, const QVariantList& values = {}) const;

private:
    QString m_connection;
    QSqlDatabase m_database;
};

/// Flips one bit of that content, of the one row that the condition finds, as a bad disk does.
void flipABit(const QString& file, const QString& table, const QString& column, const QString& condition);

/// The open receipt's sealed content in the store of that data directory; empty when there is none.
QByteArray openReceiptIn(const QString& directory);
/// Puts that in its place, whole or not.
void putOpenReceipt(const QString& directory, const QByteArray& content);

} // namespace test_support
