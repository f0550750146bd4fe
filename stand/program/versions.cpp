#include "stand/program/versions.h"

#include "stand/books/database.h"

#include <QCoreApplication>

#include <zlib.h>

using namespace Qt::StringLiterals;

namespace stand {

namespace {

/// Asked of the driver that keeps the data, which may bring an SQLite of its own.
QString sqliteVersion()
{
    Database inMemory({});
    auto query = inMemory.run(u"SELECT sqlite_version()"_s);
    query.next();
    return query.value(0).toString();
}

} // namespace

QString versionText()
{
    return u"%1 %2\nQt %3, built with %4\nSQLite %5\nzlib %6, built with %7"_s.arg(
        QCoreApplication::applicationName(), QCoreApplication::applicationVersion(),
        QString::fromLatin1(qVersion()), QStringLiteral(QT_VERSION_STR), sqliteVersion(),
        QString::fromLatin1(zlibVersion()), QStringLiteral(ZLIB_VERSION));
}

} // namespace stand
