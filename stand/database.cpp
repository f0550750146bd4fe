#include "stand/database.h"

#include "stand/schema.h"
#include "stand/seed.h"

#include <QSqlError>
#include <QUuid>

using namespace Qt::StringLiterals;

namespace stand {

Database::Database(const QString& file)
    : m_connection(QUuid::createUuid().toString())
{
    try {
        open(file);
        upgrade();
    } catch (const DatabaseError& error) {
        QSqlDatabase::removeDatabase(m_connection);
        throw DatabaseError(u"Cannot use the data file %1: %2"_s.arg(file, QString::fromUtf8(error.what())));
    }
}

Database::~Database() { QSqlDatabase::removeDatabase(m_connection); }

QSqlQuery Database::run(const QString& statement, const QVariantList& values)
{
    QSqlQuery query(QSqlDatabase::database(m_connection, false));
    query.setForwardOnly(true);
    bool done = query.prepare(statement);
    for (const auto& value : values)
        query.addBindValue(value);
    done = done && query.exec();
    if (!done)
        throw DatabaseError(query.lastError().text());
    return query;
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

void Database::upgrade()
{
    Transaction transaction(*this);
    auto query = run(u"PRAGMA user_version"_s);
    query.next();
    const auto found = query.value(0).toInt();
    query.finish();

    const auto steps = upgrades();
    if (found > steps.size())
        throw DatabaseError(u"it was written by a newer stand (data version %1)"_s.arg(found));
    for (const auto& step : steps.sliced(found)) {
        for (const auto& statement : step)
            run(statement);
    }
    run(u"PRAGMA user_version = %1"_s.arg(steps.size()));
    if (found == 0)
        seed(*this);
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
