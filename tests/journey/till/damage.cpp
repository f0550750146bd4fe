#include "tests/journey/till/damage.h"

#include <QSqlDatabase>
#include <QSqlQuery>
#include <QVariant>

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace tilltest {

void flipABit(const QString& directory, const QString& table, const QString& column, const QString& condition)
{
    const QString connection = u"damage"_s;
    {
        QSqlDatabase database = QSqlDatabase::addDatabase(u"QSQLITE"_s, connection);
        database.setDatabaseName(directory + u"/till.sqlite"_s);
        ASSERT_TRUE(database.open());
        QSqlQuery query(database);
        ASSERT_TRUE(query.exec(u"SELECT %2 FROM %1 WHERE %3"_s.arg(table, column, condition)) &&
                    query.next());
        QByteArray content = query.value(0).toByteArray();
        const qsizetype middle = content.size() / 2;
        content[middle] = static_cast<char>(content[middle] ^ 1);
        query.finish();
        ASSERT_TRUE(query.prepare(u"UPDATE %1 SET %2 = ? WHERE %3"_s.arg(table, column, condition)));
        query.addBindValue(content);
        ASSERT_TRUE(query.exec());
    }
    QSqlDatabase::removeDatabase(connection);
}

} // namespace tilltest
