#include "tests/support/rawdatabase.h"

#include <QFile>
#include <QSqlError>
#include <QSqlQuery>
#include <QSqlRecord>
#include <QUuid>

#include <stdexcept>

using namespace Qt::StringLiterals;

namespace test_support {

RawDatabase::RawDatabase(const QString& file)
    : m_connection(QUuid::createUuid().toString())
    , m_database(QSqlDatabase::addDatabase(u"QSQLITE"_s, m_connection))
{
    m_database.setDatabaseName(file);
    if (!m_database.open())
        throw std::runtime_error((file + u": "_s + m_database.lastError().text()).toStdString());
}

RawDatabase::~RawDatabase()
{
    m_database = {};
    QSqlDatabase::removeDatabase(m_connection);
}

QList<QVariantList> RawDatabase::run(const QString& sql, const QVariantList& values) const
{
    QSqlQuery query(m_database);
    bool done = query.prepare(sql);
    for (const QVariant& value : values)
        query.addBindValue(value);
    done = done && query.exec();
    if (!done)
        throw std::runtime_error((sql + u": "_s + query.lastError().text()).toStdString());
    QList<QVariantList> rows;
    while (query.next()) {
        QVariantList row;
        for (int column = 0; column < query.record().count(); ++column)
            row.append(query.value(column));
        rows.append(row);
    }
    return rows;
}

void flipABit(const QString& file, const QString& table, const QString& column, const QString& condition)
{
    const RawDatabase database(file);
    const auto rows = database.run(u"SELECT %2 FROM %1 WHERE %3"_s.arg(table, column, condition));
    if (rows.size() != 1)
        throw std::runtime_error("not one row to damage");
    QByteArray content = rows[0][0].toByteArray();
    const qsizetype middle = content.size() / 2;
    content[middle] = static_cast<char>(content[middle] ^ 1);
    database.run(u"UPDATE %1 SET %2 = ? WHERE %3"_s.arg(table, column, condition), {content});
}

QByteArray openReceiptIn(const QString& directory)
{
    const QString file = directory + u"/till.sqlite"_s;
    if (!QFile::exists(file)) // looking for one must not make it
        return {};
    return RawDatabase(file).run(u"SELECT content FROM open_receipt"_s).value(0).value(0).toByteArray();
}

void putOpenReceipt(const QString& directory, const QByteArray& content)
{
    RawDatabase(directory + u"/till.sqlite"_s)
        .run(u"INSERT OR REPLACE INTO open_receipt (slot, content) VALUES (1, ?)"_s, {content});
}

} // namespace test_support
