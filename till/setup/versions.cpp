#include "till/setup/versions.h"

#include "host/shop/connection.h"

#include <QSqlDatabase>
#include <QSqlQuery>

#include <QStringList>

#include <curl/curl.h>
#include <openssl/crypto.h>

using namespace Qt::StringLiterals;

namespace till {

namespace {

/// Asked of the driver that keeps the till's data, which may bring an SQLite of its own.
QString sqliteVersion()
{
    const QString connection = u"till-version"_s;
    QString version = u"not available"_s;
    {
        QSqlDatabase database = QSqlDatabase::addDatabase(u"QSQLITE"_s, connection);
        database.setDatabaseName(u":memory:"_s);
        if (database.open()) {
            QSqlQuery query(database);
            if (query.exec(u"SELECT sqlite_version()"_s) && query.next())
                version = query.value(0).toString();
        }
    }
    QSqlDatabase::removeDatabase(connection);
    return version;
}

} // namespace

QList<Version> versions()
{
    return {
        {u"till"_s, QStringLiteral(TILL_VERSION), {}},
        {u"Qt"_s, QString::fromLatin1(qVersion()), QStringLiteral(QT_VERSION_STR)},
        {u"OpenSSL"_s, QString::fromLatin1(OpenSSL_version(OPENSSL_VERSION_STRING)),
         QStringLiteral(OPENSSL_VERSION_STR)},
        {u"SQLite"_s, sqliteVersion(), {}},
        {u"libcurl"_s, QString::fromLatin1(curl_version_info(CURLVERSION_NOW)->version),
         QStringLiteral(LIBCURL_VERSION)},
        {u"libpq"_s, shop::clientVersion(), {}},
    };
}

QString versionText()
{
    QStringList lines;
    for (const Version& version : versions()) {
        QString line = version.name + u' ' + version.number;
        if (!version.built.isEmpty())
            line += u", built with "_s + version.built;
        lines.append(line);
    }
    return lines.join(u'\n');
}

} // namespace till
