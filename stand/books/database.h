#pragma once

#include <QSqlDatabase>
#include <QSqlQuery>
#include <QString>
#include <QVariantList>

#include <stdexcept>
#include <unordered_map>

namespace stand {

/// What SQLite refused, in a sentence for the administrator.
class DatabaseError : public std::runtime_error
{
public:
    explicit DatabaseError(const QString& what)
        : std::runtime_error(what.toStdString())
    {}
};

class Database;

/// The rows of a statement that ran. Its preparation goes back to the database with it, for the next one.
class Rows : public QSqlQuery
{
public:
    Rows(Database& database, QString statement, QSqlQuery prepared);
    ~Rows();
    Q_DISABLE_COPY_MOVE(Rows)

private:
    Database& m_database;
    QString m_statement;
};

/// The stand's SQLite data: the schema of this version, writable, filled with the demonstration data when
/// new.
class Database
{
public:
    /// Opens `file`, or a database in memory when the name is empty.
    /// Throws DatabaseError when the file cannot be written or belongs to a newer stand.
    explicit Database(const QString& file);
    ~Database();
    Q_DISABLE_COPY_MOVE(Database)

    /// Runs one statement; what is returned stands before the first row. Throws DatabaseError.
    Rows run(const QString& statement, const QVariantList& values = {});

private:
    friend class Transaction;
    friend class Rows;
    void open(const QString& file);
    void ensureMade();

    QString m_connection;
    std::unordered_multimap<QString, QSqlQuery> m_prepared; ///< By statement; those that nobody reads from.
};

/// All of it or nothing: what is not committed is taken back at the end of its scope. They do not nest.
class Transaction
{
public:
    /// Throws DatabaseError.
    explicit Transaction(Database& database);
    ~Transaction();
    Q_DISABLE_COPY_MOVE(Transaction)

    void commit(); ///< Throws DatabaseError.

private:
    Database& m_database;
    bool m_open = true;
};

} // namespace stand
