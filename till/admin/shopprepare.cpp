#include "host/shop/schema.h"
#include "till/admin/commands.h"
#include "till/admin/tool.h"
#include "till/cli/usageerror.h"
#include "till/setup/shopsettings.h"

#include <QJsonObject>

#include <chrono>

using namespace Qt::StringLiterals;

namespace till {

namespace {

int run(const Invocation& invocation)
{
    Tool tool(invocation);
    const QString address = invocation.arguments.value(0, QString());
    if (const QString fault = address.isEmpty() ? QString() : shop::faultOfDatabaseAddress(address);
        !fault.isEmpty())
        throw UsageError(u"the address "_s + fault);
    shop::Connection database(address.isEmpty() ? databaseOf(tool.config) : address,
                              {.statement = std::chrono::minutes(10)});
    prepare(database);
    tool.console.line(u"The database is ready for tills: %1"_s.arg(database.where()));
    tool.console.value(QJsonDocument(QJsonObject{{u"version"_s, shop::schemaVersion}}));
    return exitWell;
}

const QString details =
    uR"(Makes the tables in the schema "kyr" and the roles "kyr_till" and "kyr_deliver", or brings those of an
earlier version up to date; done again, it changes nothing. Give the role "kyr_till" to each till's user
and "kyr_deliver" to those that deliver. The password belongs into a file: "?passfile=FILE".

With --json: {"version"}.)"_s;

} // namespace

Command shopPrepareCommand()
{
    return {.name = u"shop prepare"_s,
            .arguments = u"[ADDRESS]"_s,
            .fewest = 0,
            .most = 1,
            .about = u"Make the shop's database ready for tills; as its owner."_s,
            .details = details,
            .examples = {{u"till shop prepare postgresql://postgres@db.example.com/shop"_s,
                          u"instead of the address in the configuration"_s}},
            .statuses = {{0, u"it is ready"_s}, {2, u"wrong usage, or the database refused"_s}},
            .run = run};
}

} // namespace till
