#include "host/shop/schema.h"

#include "host/shop/schemastatements.h"

using namespace Qt::StringLiterals;

namespace shop {

namespace {

struct Version
{
    int number = 0; ///< 0: there are no tables yet
    int oldest = 0; ///< the programs of this version can still work with them, and all later ones
};

Version versionOf(Connection& database)
{
    const bool isThere =
        !database.run(u"SELECT 1 WHERE to_regclass('kyr.version') IS NOT NULL"_s).rows.isEmpty();
    if (!isThere)
        return {};
    const QVariantList row = database.run(u"SELECT * FROM kyr.version"_s).rows.value(0);
    return {row.value(0).toInt(), row.value(1).toInt()};
}

DatabaseError otherVersion(const QString& what) { return {Fault::Refused, what}; }

const QString later = u"its tables are of a later version of this program; install that"_s;

} // namespace

void prepare(Connection& database)
{
    database.begin();
    try {
        database.run(u"SELECT pg_advisory_xact_lock(hashtextextended('kyr.version', 0))"_s);
        const int found = versionOf(database).number;
        if (found > schemaVersion)
            throw otherVersion(later);
        if (found < schemaVersion) {
            const QStringList statements =
                QStringList{roles()} + tables().sliced(found) + QStringList{functions(), rights()};
            for (const QString& each : statements)
                database.runAll(each);
        }
        database.commit();
    } catch (...) {
        database.rollback();
        throw;
    }
}

qint64 sizeOf(Connection& database)
{
    return database.run(u"SELECT pg_database_size(current_database())"_s).rows.value(0).value(0).toLongLong();
}

QStringList removeOld(Connection& database, int receiptDays, int journalDays)
{
    QStringList removed;
    for (const QVariantList& row :
         database.run(u"SELECT remove_old($1, $2)"_s, {receiptDays, journalDays}).rows)
        removed.append(row[0].toString());
    return removed;
}

void requirePrepared(Connection& database)
{
    const Version found = versionOf(database);
    if (found.number == 0)
        throw otherVersion(u"it has no tables for tills; run \"till shop prepare\""_s);
    if (found.number < schemaVersion)
        throw otherVersion(
            u"its tables are of an earlier version of this program; run \"till shop prepare\""_s);
    if (found.oldest > schemaVersion)
        throw otherVersion(later);
}

} // namespace shop
