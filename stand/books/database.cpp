#include "stand/books/database.h"

#include "stand/books/schema.h"
#include "stand/books/seed.h"

#include <QSqlError>
#include <QUuid>

using namespace Qt::StringLiterals;

namespace stand {

Database::Database(const QString& file)
    : m_connection(QUuid::createUuid().toString())
{
    try {
        open(file);
        ensureMade();
    } catch (const DatabaseError& error) {
        m_prepared.clear();
        QSqlDatabase::removeDatabase(m_connection);
        throw DatabaseError(u"Cannot use the data file %1: %2"_s.arg(file, QString::fromUtf8(error.what())));
    }
}

Database::~Database()
{
    m_prepared.clear();
    QSqlDatabase::removeDatabase(m_connection);
}

Rows Database::run(const QString& statement, const QVariantList& values)
{
    // To prepare a statement costs more than to run it.
    const auto found = m_prepared.find(statement);
    const bool isPrepared = found != m_prepared.end();
    QSqlQuery query =
        isPrepared ? std::move(found->second) : QSqlQuery(QSqlDatabase::database(m_connection, false));
    if (isPrepared)
        m_prepared.erase(found);
    else {
        query.setForwardOnly(true);
        if (!query.prepare(statement))
            throw DatabaseError(query.lastError().text());
    }
    for (int i = 0; i < values.size(); ++i)
        query.bindValue(i, values[i]);
    if (!query.exec())
        throw DatabaseError(query.lastError().text());
    return {*this, statement, std::move(query)};
}

Rows::Rows(Database& database, QString statement, QSqlQuery prepared)
    : QSqlQuery(std::move(prepared))
    , m_database(database)
    , m_statement(std::move(statement))
{}

Rows::~Rows()
{
    finish();
    m_database.m_prepared.emplace(m_statement, static_cast<QSqlQuery&&>(*this));
}

void Database::open(const QString& file)
{
    auto connection = QSqlDatabase::addDatabase(u"QSQLITE"_s, m_connection);
    connection.setDatabaseName(file.isEmpty() ? u":memory:"_s : file);
    if (!connection.open())
        throw DatabaseError(connection.lastError().text());
    run(u"PRAGMA foreign_keys = ON"_s);
    // What must survive is the end of this process, not a power cut: no exchange waits for the disk.
    run(u"PRAGMA synchronous = OFF"_s);
}

void Database::ensureMade()
{
    Transaction transaction(*this);
    auto query = run(u"PRAGMA user_version"_s);
    query.next();
    const auto found = query.value(0).toInt();
    query.finish();

    if (found > schemaVersion)
        throw DatabaseError(u"it was written by a newer stand (data version %1)"_s.arg(found));
    if (found == 0) {
        for (const auto& statement : schema())
            run(statement);
        run(u"PRAGMA user_version = %1"_s.arg(schemaVersion));
        seed(*this);
    }
    transaction.commit();
}

Transaction::Transaction(Database& database)
    : m_database(database)
{
    // IMMEDIATE asks for the right to write at once: a file that is read-only is found now, not at a sale.
    m_database.run(u"BEGIN IMMEDIATE"_s);
}

Transaction::~Transaction()
{
    if (m_open)
        QSqlQuery(u"ROLLBACK"_s, QSqlDatabase::database(m_database.m_connection, false));
}

void Transaction::commit()
{
    m_database.run(u"COMMIT"_s);
    m_open = false;
}

} // namespace stand
