#include "till/setup/shopsettings.h"

#include "till/cli/usageerror.h"
#include "till/setup/settingkeys.h"

using namespace Qt::StringLiterals;

namespace till {

std::optional<ShopSettings> shopOf(const Config& config)
{
    const ShopSettings shop{config.getString(keys::shopDatabase, {}), config.getString(keys::shopTill, {})};
    if (shop.database.isEmpty())
        return {};
    if (shop.till.isEmpty())
        throw UsageError(u"%1 is set, but not %2: say which till of the shop this is, such as \"7\""_s.arg(
            keys::shopDatabase, keys::shopTill));
    return shop;
}

QString databaseOf(const Config& config)
{
    const QString database = config.getString(keys::shopDatabase, {});
    if (database.isEmpty())
        throw UsageError(u"%1 is not set: say in the configuration where the shop's database is"_s.arg(
            keys::shopDatabase));
    return database;
}

} // namespace till
