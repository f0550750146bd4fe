#include "tests/stand/books.h"

#include <QSqlDatabase>
#include <QSqlQuery>

using namespace Qt::StringLiterals;

namespace standtest {

bool change(const QString& file, const QStringList& statements)
{
    bool done = true;
    {
        auto database = QSqlDatabase::addDatabase(u"QSQLITE"_s, file);
        database.setDatabaseName(file);
        done = database.open();
        for (const auto& statement : statements)
            done = done && QSqlQuery(database).exec(statement);
    }
    QSqlDatabase::removeDatabase(file);
    return done;
}

} // namespace standtest
