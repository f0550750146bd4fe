#include "host/shop/schema.h"
#include "host/shop/shopqueue.h"
#include "till/admin/doctor.h"
#include "till/cli/usageerror.h"
#include "till/setup/settingkeys.h"
#include "till/setup/shopsettings.h"

#include <QRegularExpression>

using namespace Qt::StringLiterals;

namespace till {

namespace {

using State = Finding::State;

const QString page = u"see docs/shop.md"_s;

QString told(shop::Connection& database, const QString& sql)
{
    return database.run(sql).rows.value(0).value(0).toString();
}

Finding examineServer(shop::Connection& database)
{
    constexpr int oldest = 15;
    const QString version = told(database, u"SHOW server_version"_s).section(u' ', 0, 0);
    const QString text = u"PostgreSQL %1 in %2"_s.arg(version, database.where());
    if (told(database, u"SHOW server_version_num"_s).toInt() / 10000 < oldest)
        return {u"shop"_s, State::Problem, text, u"version %1 or later is needed"_s.arg(oldest)};
    return {u"shop"_s, State::Ok, text};
}

Finding examineWay(shop::Connection& database)
{
    const bool isSecured =
        database.run(u"SELECT FROM pg_stat_ssl WHERE pid = pg_backend_pid() AND ssl"_s).rows.size() == 1;
    if (isSecured)
        return {u"shop tls"_s, State::Ok, u"the way to the database is secured"_s};
    const bool isLocal =
        database
            .run(u"SELECT WHERE inet_server_addr() IS NULL OR inet_server_addr() <<= '127.0.0.0/8' "
                 "OR inet_server_addr() = '::1'"_s)
            .rows.size() == 1;
    if (isLocal)
        return {u"shop tls"_s, State::Ok, u"not used, and not needed on this machine"_s};
    return {u"shop tls"_s, State::Warning, u"not used: receipts and messages can be read on the way"_s,
            u"say sslmode=verify-full in %1; see docs/shop.md"_s.arg(keys::shopDatabase)};
}

/// What one server alone has may be lost with it, and the tills have removed it.
Finding examineCopies(shop::Connection& database)
{
    const QString standbys = told(database, u"SHOW synchronous_standby_names"_s);
    const QString commits = told(database, u"SHOW synchronous_commit"_s);
    if (commits == u"off"_s || commits == u"local"_s)
        return {u"shop copies"_s, State::Problem,
                u"synchronous_commit is '%1': what was committed may be lost"_s.arg(commits),
                u"set synchronous_commit = on in the database"_s};
    if (standbys.isEmpty())
        return {u"shop copies"_s, State::Warning, u"a commit is on one server alone"_s,
                u"name a standby in the database's synchronous_standby_names"_s};
    return {u"shop copies"_s, State::Ok, u"a commit waits for %1"_s.arg(standbys)};
}

QList<Finding> examineShopsQueue(const Config& config, const QString& address)
{
    static const QRegularExpression command(u"(till queue \\w+)"_s);
    QList<Finding> findings = examineQueue(config, shop::ShopQueue(address));
    for (Finding& finding : findings) {
        finding.check = u"shop queue"_s;
        finding.remedy.replace(command, u"\\1 --shop"_s);
    }
    return findings;
}

} // namespace

QList<Finding> examineWholeShop(const Options& given)
{
    Options options = given;
    const SettingsReading reading = readSettings(options);
    const Config& config = reading.config;
    QList<Finding> findings = examineConfiguration(options, reading) + examineService(config);
    try {
        const QString address = databaseOf(config);
        shop::Connection database(address);
        findings.append(examineServer(database));
        findings.append(examineWay(database));
        findings.append(examineCopies(database));
        requirePrepared(database);
        findings += examineShopsQueue(config, address);
    } catch (const UsageError& failure) {
        findings.append({u"shop"_s, State::Problem, QString::fromUtf8(failure.what()), page});
    } catch (const BasicException& failure) {
        findings.append({u"shop"_s, State::Problem, failure.tr().ru(), page});
    }
    return findings;
}

} // namespace till
