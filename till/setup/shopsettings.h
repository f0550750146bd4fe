#pragma once

#include "host/utils/config.h"

#include <QString>

#include <optional>

namespace till {

/// A till of a shop with a database for all of its tills.
struct ShopSettings
{
    QString database; ///< its address, see shop::Connection
    QString till;     ///< how this till is called there; never empty
};

/// Nothing when the shop has none: then the till keeps and delivers everything by itself. Throws UsageError
/// when the settings do not say which till this is.
std::optional<ShopSettings> shopOf(const Config& config);

/// The address of the shop's database, for who is no till. Throws UsageError when the settings name none.
QString databaseOf(const Config& config);

} // namespace till
