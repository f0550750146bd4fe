#include "stand/database.h"

#include "stand/seed.h"

#include <QSqlError>
#include <QStringList>
#include <QUuid>

using namespace Qt::StringLiterals;

namespace stand {

namespace {

/// The statements which bring a file of version n to version n + 1, n being the place in the list.
/// A step that was once released is never changed; a new one is added behind it.
QList<QStringList> upgrades()
{
    return {{
        uR"(CREATE TABLE customers(
                id INTEGER PRIMARY KEY,
                last_name TEXT, first_name TEXT, middle_name TEXT,
                gender INTEGER CHECK (gender IN (0, 1)),
                birth_day TEXT, address TEXT, email TEXT,
                mobile TEXT NOT NULL))"_s,
        u"CREATE INDEX customers_by_mobile ON customers(mobile)"_s,
        // In hundredths of a point; "notation" says how the service writes it as a text.
        uR"(CREATE TABLE accounts(
                id INTEGER PRIMARY KEY,
                balance INTEGER NOT NULL,
                notation INTEGER NOT NULL CHECK (notation IN (0, 1))))"_s,
        // The order of the ids is the order of issue.
        uR"(CREATE TABLE cards(
                id INTEGER PRIMARY KEY,
                number TEXT NOT NULL UNIQUE,
                customer INTEGER REFERENCES customers,
                account INTEGER NOT NULL REFERENCES accounts,
                status INTEGER NOT NULL CHECK (status BETWEEN 0 AND 3)))"_s,
        u"CREATE INDEX cards_by_customer ON cards(customer)"_s,
        uR"(CREATE TABLE exchanges(
                n INTEGER PRIMARY KEY AUTOINCREMENT,
                time TEXT NOT NULL,
                method TEXT NOT NULL, path TEXT NOT NULL,
                headers TEXT NOT NULL, request_body TEXT NOT NULL,
                status INTEGER NOT NULL, answer_body TEXT NOT NULL,
                authorized INTEGER NOT NULL))"_s,
    }};
}

} // namespace

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
    // IMMEDIATE asks for the right to write at once: a file that is read-only is found now, not at a sale.
    run(u"BEGIN IMMEDIATE"_s);
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
    run(u"COMMIT"_s);
}

} // namespace stand
